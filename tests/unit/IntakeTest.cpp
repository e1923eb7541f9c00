#include "intake/PasteboardURLs.h"
#include "support/ModelFixture.h"

namespace ternvault::test {
namespace {

const QString fileNames = u"NSFilenamesPboardType"_s;
const QString itemText = u"public.file-url"_s;
struct Intake : ModelFixture {
    Intake() {
        for (const char* file : {"/s/a", "/s/b b", "/s/c", "/s/100%", "/s/b b%20%", "/s/n\xff"})
            fake.files.entries[file] = false;
    }
    /// The URLs found, as text.
    QStringList found() {
        QStringList texts;
        for (const QUrl& url : fileURLsFromPasteboard(fake.pasteboard, fake.files))
            texts.push_back(QString::fromLatin1(url.toEncoded()));
        return texts;
    }
    void copy(std::initializer_list<const char*> urls) {
        fake.pasteboard.urls.clear();
        for (const char* url : urls)
            fake.pasteboard.urls.emplace_back(QString::fromLatin1(url));
    }
};

TEST_F(Intake, ReadsThreeSourcesInOrderAndEachExistingFileOnce) {
    copy({"file:///s/gone", "file:///s/x/../c", "file:///s/c/", "file://elsewhere/s/a"});
    fake.pasteboard.propertyLists[fileNames] =
        QStringList{u"//s/b b"_s, u"/s/c"_s, u"/s/100%"_s, u""_s, u"s/a"_s};
    fake.pasteboard.texts[itemText] = {std::nullopt, u"file:///s/./c"_s, u"file:///s/a"_s,
                                       u"file:///s/b%20b"_s};
    EXPECT_EQ(found(), (QStringList{u"file:///s/x/../c"_s, u"file:////s/b%20b"_s, u"file:///s/100%25"_s,
                                    u"file:///s/a"_s}));

    copy({});
    fake.pasteboard.texts.clear();
    fake.pasteboard.propertyLists[fileNames] = QVariantList{u"/s/a"_s, 7};
    EXPECT_EQ(found(), QStringList()) << "a list that is not of texts alone";
}

TEST_F(Intake, TakesItemTextsThatAreNoURLsApartByHand) {
    const std::pair<QString, const char*> rows[] = {
        {u"file:///s/b b"_s, "file:///s/b%20b"},
        {u"file:///s/100%"_s, "file:///s/100%25"},
        {u"file:///s/b b%20%"_s, "file:///s/b%20b%2520%25"},
        {u"file:///s/n%FF"_s, "file:///s/n%FF"},
        {u"/s/a"_s, "/s/a"},
        {u"http://pc/s/a"_s, nullptr},
        {u"/s/b b"_s, nullptr},
        {u""_s, nullptr},
    };
    for (const auto& [text, url] : rows) {
        fake.pasteboard.texts[itemText] = {text};
        EXPECT_EQ(found().join(u' '), QString::fromLatin1(url)) << text.toStdString();
    }
}

TEST_F(Intake, FilesThatComeWhileOneMountIsUnderWayWaitForItInTheirOrder) {
    AppModel& model = startWithAccount();
    fake.processes.respond = [this](const QStringList& call) {
        if (!call.back().contains(u":right@"_s))
            return ProcessResult{std::nullopt, isMount(call) ? 1 : 0, {}, "refused"};
        fake.files.entries["/Volumes/MOSSBOX1"] = true;
        return ProcessResult{};
    };
    QStringList started;
    for (const bool succeeds : {false, true}) {
        fake.time.holdBackground = true;
        for (const QString& file : {u"file:///s/c"_s, u"file:///s/b%20b"_s, u"file:///s/a"_s})
            perform(model.handleIncomingFileURLs({QUrl(file)}));
        EXPECT_EQ(model.transfers.totalCount, 0);
        // Too late for the mount under way.
        if (succeeds)
            model.smbPassword = u"right"_s;
        const Subscription subscription = model.transfers.objectWillChange.subscribe([&] {
            if (const QString name = model.transfers.currentFileName; !name.isEmpty())
                started.removeAll(name), started << name;
        });
        fake.time.holdBackground = false;
        fake.time.advance(1s);
        EXPECT_EQ(mounts(), succeeds ? 3U : 1U) << "one attempt with each account for all of them";
        EXPECT_EQ(model.transfers.totalCount, succeeds ? 2 : 0);
        EXPECT_EQ(*model.status == u"Mount failed — cannot transfer"_s, !succeeds);
    }
    EXPECT_EQ(started, (QStringList{u"b b"_s, u"a"_s}));
}

TEST_F(Intake, APasteMadeInAFolderOfTheVolumeGoesThere) {
    fake.files.entries["/Volumes/MOSSBOX1"] = true;
    AppModel& model = startWithAccount();
    copy({"file:///s/a"});
    const std::pair<const char*, const char*> rows[] = {{"/Volumes/MOSSBOX1/b/c", "b/c/a"},
                                                        {"/Volumes/MOSSBOX1", "a"},
                                                        {"/Volumes/MOSSBOX1/../MOSSBOX2", "a"},
                                                        {"/Volumes/MOSSBOX2/b", "a"},
                                                        {"/Volumes", "a"},
                                                        {"", "a"}};
    for (const auto& [folder, destination] : rows) {
        perform(model.pasteFromClipboardInto(folder));
        EXPECT_EQ(fake.processes.calls.back().back(),
                  u"/Volumes/MOSSBOX1/"_s + QString::fromUtf8(destination));
        EXPECT_EQ(*model.status, u"Queued 1 item(s) → /Volumes/MOSSBOX1"_s);
    }
}

TEST_F(Intake, WhatIsNoFileOfThisPCIsCountedAndReportedAsMissing) {
    fake.files.entries["/Volumes/MOSSBOX1"] = true;
    AppModel& model = start();
    perform(model.handleIncomingFileURLs({QUrl(u"https://pc/s/a"_s), QUrl(u"file:///s/n%FF"_s)}));
    EXPECT_EQ(*model.status, u"Queued 2 item(s) → /Volumes/MOSSBOX1"_s);
    EXPECT_EQ(model.transfers.totalCount, 1);
    EXPECT_EQ(fake.log.messages.at(0), u"space.larkspur.ternvault/transfer: Missing: a"_s);
}

} // namespace
} // namespace ternvault::test

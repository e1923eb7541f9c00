#include "intake/DroppedFiles.h"
#include "intake/PasteboardURLs.h"
#include "support/ModelFixture.h"

namespace ternvault::test {
namespace {

const QString fileNames = u"NSFilenamesPboardType"_s;
const QString itemText = u"public.file-url"_s;
struct Intake : ModelFixture {
    Intake() {
        for (const char* file :
             {"/s/a", "/s/b b", "/s/c", "/s/100%", "/s/b b%20%", "/s/lost+found", "/s/n\xff"})
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

TEST_F(Intake, WithoutFilesOrWithoutAVolumeNothingIsQueued) {
    letProgramsFail("refused");
    AppModel& model = startWithAccount();
    perform(model.pasteFromClipboard());
    EXPECT_TRUE(model.status->startsWith(u"Clipboard has no files"_s));
    EXPECT_EQ(fake.activation.count, 0);
    EXPECT_EQ(mounts(), 0u);

    copy({"file:///s/a", "file:///s/c"});
    perform(model.pasteFromClipboard());
    EXPECT_EQ(*model.status, u"Mount failed — cannot transfer"_s);
    EXPECT_EQ(model.transfers.totalCount, 0);
}

TEST_F(Intake, APasteComesToTheFrontThenMountsThenQueues) {
    copy({"file:///s/a", "file:///s/lost+found"});
    letMountsSucceed();
    AppModel& model = startWithAccount();
    const Subscription subscription = model.objectWillChange.subscribe(
        [&] { EXPECT_TRUE(fake.activation.count == 1 || !model.status->startsWith(u"App paste"_s)); });
    perform(model.pasteFromClipboard());
    EXPECT_EQ(mounts(), 1u);
    EXPECT_EQ(*model.status, u"Queued 2 item(s) → /Volumes/MOSSBOX1"_s);
    EXPECT_EQ(model.transfers.totalCount, 1);
}

TEST_F(Intake, FilesThatComeWhileOneMountIsUnderWayWaitForItInTheirOrder) {
    AppModel& model = startWithAccount();
    fake.processes.executables = {u"/usr/bin/rsync"_s};
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
    }
    EXPECT_EQ(started, (QStringList{u"b b"_s, u"a"_s}));
}

TEST_F(Intake, APasteMadeInAFolderOfTheVolumeGoesThere) {
    fake.files.entries["/Volumes/MOSSBOX1"] = true;
    fake.processes.executables = {u"/usr/bin/rsync"_s};
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
    const std::vector<QUrl> urls{QUrl(u"https://pc/s/a"_s), QUrl(u"file:///s/n%FF"_s)};
    perform(model.handleIncomingFileURLs(urls));
    EXPECT_EQ(*model.status, u"Queued 2 item(s) → /Volumes/MOSSBOX1"_s);
    EXPECT_EQ(model.transfers.totalCount, 1);
    EXPECT_EQ(fake.log.messages.at(0), u"space.larkspur.ternvault/transfer: Missing: a"_s);
}

/// Completes when the test says so.
struct HeldItem : ItemProvider {
    explicit HeldItem(std::vector<Completion>& completions) : held(completions) {}
    void load(const QString&, Completion completion) override { held.push_back(std::move(completion)); }
    std::vector<Completion>& held;
};

TEST_F(Intake, ADropHandsOverOnceInTheOrderOfCompletion) {
    const ItemProvider::Item items[] = {QByteArray("file:///s/a"), QUrl(u"file:///s/c"_s),
                                        QByteArray("file:///s/\xff"), std::monostate()};
    std::vector<ItemProvider::Completion> held;
    std::vector<std::unique_ptr<ItemProvider>> providers;
    for (std::size_t i = 0; i < std::size(items); ++i)
        providers.push_back(std::make_unique<HeldItem>(held));
    std::vector<std::vector<QUrl>> handedOver;
    handleDrop(providers, fake.time, [&](std::vector<QUrl> urls) { handedOver.push_back(std::move(urls)); });
    providers.clear();
    for (std::size_t i = std::size(items); i-- > 0;) {
        fake.time.run();
        EXPECT_TRUE(handedOver.empty());
        held[i](items[i]);
    }
    EXPECT_TRUE(handedOver.empty()) << "only on a later turn";
    fake.time.run();
    const std::vector<QUrl> expected{QUrl(u"file:///s/c"_s), QUrl(u"file:///s/a"_s)};
    EXPECT_EQ(handedOver, std::vector<std::vector<QUrl>>{expected});
}

} // namespace
} // namespace ternvault::test

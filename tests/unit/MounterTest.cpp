#include "mount/SMBMounter.h"
#include "support/ModelFixture.h"

namespace ternvault::test {
namespace {

ProcessResult failing(int status, const QByteArray& standardError, const QByteArray& standardOutput = {}) {
    return {std::nullopt, status, standardOutput, standardError};
}

struct MounterTest : ModelFixture {
    SMBMounter mounter{fake.platform};
    QString outcome;

    Task<> report(Task<> operation) {
        try {
            co_await operation;
            outcome = u"ok"_s;
        } catch (const std::exception& error) {
            outcome = QString::fromUtf8(error.what());
        }
    }
    QString outcomeOf(Task<> operation) {
        perform(report(std::move(operation)));
        return outcome;
    }
    QString mount(const QString& password = u"secret"_s, const QString& share = u"Films"_s) {
        return outcomeOf(mounter.mount(u"10.0.0.5"_s, share, u"anna"_s, password, productVolumeName));
    }
    QString unmount() { return outcomeOf(mounter.unmount(u"MOSSBOX1"_s)); }
    void appear(const char* path) { fake.files.entries[path] = true; }
};

TEST_F(MounterTest, EscapesOnlyDoubleQuotesAndRefusesShareNamesWithASlash) {
    mount(uR"(p@:/"\ #)"_s);
    ASSERT_EQ(fake.processes.calls.size(), 1u);
    EXPECT_EQ(fake.processes.calls[0],
              (QStringList{u"/usr/bin/osascript"_s, u"-e"_s,
                           uR"(mount volume "smb://anna:p@:/\"\ #@10.0.0.5/Films")"_s}));

    EXPECT_EQ(mount(u"secret"_s, u"a@evil/x"_s), u"A share's name has no slash"_s);
    EXPECT_EQ(fake.processes.calls.size(), 1u) << "it would change the server";
}

TEST_F(MounterTest, TellsWhyAMountFailed) {
    const std::pair<ProcessResult, QString> rows[] = {
        {failing(1, " wrong password \n"), u"wrong password"_s},
        {failing(1, "", "not read"), u""_s},
        {failing(1, "\xff", " from output\n"), u"from output"_s},
        {{u"no such program"_s, 0, {}, {}}, u"no such program"_s},
    };
    for (const auto& row : rows) {
        fake.processes.respond = [&row](const QStringList&) { return row.first; };
        EXPECT_EQ(mount(), row.second);
    }
}

TEST_F(MounterTest, TheFileSystemHasTheLastWord) {
    fake.processes.respond = [this](const QStringList&) {
        appear("/Volumes/Films");
        return failing(1, "half failed");
    };
    EXPECT_EQ(mount(), u"ok"_s);

    fake.files.entries.clear();
    fake.processes.respond = nullptr;
    outcome.clear();
    mount();
    fake.time.advance(499ms);
    EXPECT_EQ(outcome, QString()) << "one second look after half a second";
    fake.time.advance(1ms);
    EXPECT_EQ(outcome, u"Volume did not appear under /Volumes"_s);

    mount();
    appear("/Volumes/Tern Vault");
    fake.time.advance(500ms);
    EXPECT_EQ(outcome, u"ok"_s);
}

TEST_F(MounterTest, ForcesAnEjectThatFailsAndKeepsItsMessageUntrimmed) {
    appear("/Volumes/MOSSBOX1");
    appear("/Volumes/MOSS BOX");
    bool forceWorks = false;
    fake.processes.respond = [&](const QStringList& call) {
        const bool isForced = call.contains(u"force"_s);
        return failing(isForced && forceWorks ? 0 : 1, isForced ? call.back().toUtf8() + " busy\n" : "plain");
    };
    EXPECT_EQ(unmount(), u"/Volumes/MOSS BOX busy\n"_s);
    EXPECT_EQ(fake.processes.calls.size(), 4u);
    forceWorks = true;
    EXPECT_EQ(unmount(), u"ok"_s);
    fake.processes.respond = [](const QStringList&) { return ProcessResult{u"cannot start"_s, 0, {}, {}}; };
    EXPECT_EQ(unmount(), u"cannot start"_s);
}

} // namespace
} // namespace ternvault::test

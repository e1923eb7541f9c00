#include "support/RealPC.h"

#include <functional>

namespace ternvault::test {

/// Copies through the command line tool while something goes wrong.
class CopyFaults : public RealPC {
protected:
    fs::path file(const std::string& name, std::size_t size) {
        const fs::path result = source / name;
        std::string content(size, '\0');
        std::ifstream("/dev/urandom", std::ios::binary)
            .read(content.data(), static_cast<std::streamsize>(size));
        writeFile(result, content);
        return result;
    }
    /// Of a film, until a part has arrived.
    void startCopy(std::size_t size) {
        mountShare();
        startTool(copy, {u"copy"_s, path(file("film", size))});
        std::error_code error;
        const auto hasBegun = [&] { return fs::file_size(served("film"), error) > 1'000'000 && !error; };
        EXPECT_TRUE(eventually(hasBegun, 15s));
    }
    bool attemptFailsWithin(std::chrono::seconds limit) const {
        return eventually([&] { return log().find("FAIL attempt 1: film: ") != std::string::npos; }, limit);
    }
    /// In the test's own process namespace.
    static void signalCopyPrograms(int signal) {
        for (const auto& process : fs::directory_iterator("/proc")) {
            if (readFile(process.path() / "comm") == "rsync\n")
                ::kill(std::stoi(process.path().filename()), signal);
        }
    }
    bool isIdentical() const { return readFile(source / "film") == readFile(served("film")); }

    QProcess copy;
};

TEST_F(CopyFaults, AServerKilledDuringACopyCostsAnAttemptAndNotTheFile) {
    startCopy(400'000'000);
    server("kill");
    ASSERT_TRUE(attemptFailsWithin(15s));
    server("start");
    const Outcome outcome = finish(copy);
    EXPECT_EQ(outcome.status, 0) << outcome.errors << log();
    EXPECT_TRUE(isIdentical());
}

TEST_F(CopyFaults, AServerThatStaysAwayCountsAsAnErrorAndItsVolumeGoes) {
    startCopy(200'000'000);
    server("kill");
    const Outcome outcome = finish(copy);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.errors.find("film"), std::string::npos);
    EXPECT_NE(log().find("Finished with errors — 0/1 · 1 error(s)"), std::string::npos) << log();
    EXPECT_TRUE(eventually([&] { return isVolumesRootEmpty(); }, 75s));
}

TEST_F(CopyFaults, ASilentServerEndsTheAttemptInTime) {
    startCopy(200'000'000);
    server("pause");
    ASSERT_TRUE(attemptFailsWithin(20s));
    server("resume");
    const Outcome outcome = finish(copy);
    EXPECT_EQ(outcome.status == 0, isIdentical()) << outcome.errors << log();
}

TEST_F(CopyFaults, WhatSomebodyElseChangesOnTheServerIsCopiedAgain) {
    mountShare();
    file("film", 100'000);
    fs::create_directories(source / "tree/sub");
    fs::create_directories(source / "folder");
    for (const char* name : {"tree/removed", "tree/sub/changed", "tree/sub/kept", "folder/item"})
        file(name, 10'000);
    const QStringList again{u"copy"_s, path(source / "film"), path(source / "tree"), path(source / "folder")};
    ASSERT_EQ(cli(again).status, 0);
    fs::remove(served("film"));
    fs::remove_all(served("folder"));
    fs::remove(served("tree/removed"));
    fs::resize_file(served("tree/sub/changed"), 10);
    ASSERT_EQ(cli(again).status, 0) << log();
    EXPECT_EQ(log().find("FAIL"), std::string::npos) << log();
    EXPECT_EQ(difference(source.path(), served()), "");
}

/// What a copy that was cut short may leave: as long as the new file, and written in the second that it was
/// saved.
TEST_F(CopyFaults, AnUnfinishedFileOfTheSameLengthAndSecondIsCopied) {
    mountShare();
    fs::create_directories(source / "tree/sub");
    file("tree/sub/film", 50'000);
    ASSERT_EQ(cli({u"copy"_s, path(source / "tree")}).status, 0);
    // The first will be another user's.
    for (const char* name : {"film", "tree/sub/film"}) {
        ASSERT_EQ(setModified(file(name, 50'000), 1'700'000'000, 250'000'000), 0);
        writeFile(served(name), std::string(50'000, 'x'));
        ASSERT_EQ(setModified(served(name), 1'700'000'000, 750'000'000), 0);
    }
    ASSERT_EQ(cli({u"copy"_s, path(source / "film"), path(source / "tree")}).status, 0) << log();
    EXPECT_EQ(difference(source.path(), served()), "");
}

TEST_F(CopyFaults, TwoProcessesCopyOneAfterTheOther) {
    mountShare();
    const fs::path other = source / "other";
    fs::create_directory(other);
    file("other/film", 150'000'000);
    startCopy(150'000'000);
    const Outcome second = cli({u"copy"_s, path(other / "film")});
    EXPECT_EQ(finish(copy).status, 0);
    EXPECT_EQ(second.status, 0) << second.errors;
    EXPECT_NE(second.errors.find("waiting for it to end"), std::string::npos) << second.errors;
    EXPECT_EQ(readFile(served("film")), readFile(other / "film"));
}

TEST_F(CopyFaults, ACopyProgramThatOutlivesItsStarterIsWaitedFor) {
    startCopy(150'000'000);
    signalCopyPrograms(SIGSTOP);
    copy.kill();
    copy.waitForFinished();
    fs::rename(source / "film", source / "first");
    QProcess second;
    startTool(second, {u"copy"_s, path(file("film", 50'000'000))});
    QByteArray said;
    EXPECT_TRUE(eventually(
        [&] { return (said += second.readAllStandardError()).contains("waiting for it to end"); }, 20s));
    signalCopyPrograms(SIGCONT);
    EXPECT_EQ(finish(second).status, 0);
    EXPECT_TRUE(isIdentical());
}

TEST_F(CopyFaults, NothingLandsInALocalDirectoryWhenTheDaemonDies) {
    mountShare();
    fs::create_directories(source / "tree");
    for (int i = 0; i < 300; ++i)
        file("tree/" + std::to_string(i), 300'000);
    const std::function<void()> faults[] = {
        [] { signalDaemons(SIGSTOP); },
        [] { signalDaemons(SIGKILL); },
        // With the keepers hit as well, what is left behind is everything there can be.
        [] { signalDaemons(SIGKILL, true); },
    };
    for (const auto& fault : faults) {
        fs::remove_all(served("tree"));
        startTool(copy, {u"copy"_s, path(source / "tree")});
        ASSERT_TRUE(eventually([] { return fs::exists(served("tree/20")); }, 15s));
        fault();
        const Outcome outcome = finish(copy);
        EXPECT_EQ(outcome.status, 0) << outcome.errors << log();
        EXPECT_NE(log().find("FAIL attempt 1: tree"), std::string::npos) << "the fault came too late";
        EXPECT_EQ(difference(source / "tree", served("tree")), "");
        eject();
        fs::remove(home / ".local/share/Tern Vault/transfer.log");
    }
}

} // namespace ternvault::test

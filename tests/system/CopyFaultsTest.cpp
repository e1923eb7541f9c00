#include "support/RealPC.h"

#include <functional>

#include <sys/stat.h>

namespace ternvault::test {
namespace {

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

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
    /// The item, of which a part has arrived.
    fs::path startCopy(QProcess& process, std::size_t size) {
        mountShare();
        const fs::path item = file("film", size);
        start(process, QStringLiteral(TERNVAULT_CLI), {u"copy"_s, path(item)});
        EXPECT_TRUE(eventually([&] { return servedSize(item.filename()) > 1'000'000; }, 15s));
        return item;
    }
    static std::uintmax_t servedSize(const fs::path& name) {
        std::error_code error;
        const std::uintmax_t size = fs::file_size(served() / name, error);
        return error ? 0 : size;
    }
    static bool isIdentical(const fs::path& item) {
        return readFile(item) == readFile(served() / item.filename());
    }
};

TEST_F(CopyFaults, AServerKilledDuringACopyCostsAnAttemptAndNotTheFile) {
    QProcess copy;
    const fs::path item = startCopy(copy, 400'000'000);
    server("kill");
    const auto killed = std::chrono::steady_clock::now();
    ASSERT_TRUE(eventually([&] { return log().find("FAIL attempt 1: film: ") != std::string::npos; }, 15s));
    EXPECT_LT(std::chrono::steady_clock::now() - killed, 15s);
    server("start");
    const Outcome outcome = finish(copy);
    EXPECT_EQ(outcome.status, 0) << outcome.errors << log();
    EXPECT_TRUE(isIdentical(item));
}

TEST_F(CopyFaults, AServerThatStaysAwayCountsAsAnErrorAndItsVolumeGoes) {
    QProcess copy;
    startCopy(copy, 200'000'000);
    server("kill");
    const Outcome outcome = finish(copy);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.errors.find("film"), std::string::npos);
    EXPECT_NE(log().find("Finished with errors — 0/1 · 1 error(s)"), std::string::npos) << log();
    EXPECT_TRUE(eventually([&] { return isVolumesRootEmpty(); }, 75s));
}

TEST_F(CopyFaults, ASilentServerEndsTheAttemptInTime) {
    QProcess copy;
    const fs::path item = startCopy(copy, 200'000'000);
    server("pause");
    ASSERT_TRUE(eventually([&] { return log().find("FAIL attempt 1: film: ") != std::string::npos; }, 20s));
    server("resume");
    const Outcome outcome = finish(copy);
    EXPECT_EQ(outcome.status == 0, isIdentical(item)) << outcome.errors << log();
}

TEST_F(CopyFaults, WhatSomebodyElseChangesOnTheServerIsCopiedAgain) {
    mountShare();
    file("film", 100'000);
    fs::create_directories(source / "tree/sub");
    fs::create_directories(source / "folder");
    for (const char* name : {"tree/removed", "tree/sub/changed", "tree/sub/kept", "folder/item"})
        file(name, 10'000);
    const QStringList copy{u"copy"_s, path(source / "film"), path(source / "tree"), path(source / "folder")};
    ASSERT_EQ(cli(copy).status, 0);
    fs::remove(served("film"));
    fs::remove_all(served("folder"));
    fs::remove(served("tree/removed"));
    fs::resize_file(served("tree/sub/changed"), 10);
    ASSERT_EQ(cli(copy).status, 0) << log();
    EXPECT_EQ(log().find("FAIL"), std::string::npos) << log();
    const Outcome compared = run(u"/usr/bin/diff"_s, {u"-r"_s, path(source.path()), path(served())});
    EXPECT_EQ(compared.output + compared.errors, "");
}

TEST_F(CopyFaults, NothingLandsInALocalDirectoryWhenTheDaemonDies) {
    mountShare();
    fs::create_directories(source / "tree");
    for (int i = 0; i < 300; ++i)
        file("tree/" + std::to_string(i), 300'000);
    const std::function<void()> faults[] = {
        [] { signalDaemons(SIGSTOP); },
        [] { signalDaemons(SIGKILL); },
        [] {
            // With the keepers hit as well, what is left behind is everything there can be.
            for (const pid_t process : volumeProcesses(true))
                ::kill(process, SIGKILL);
        },
    };
    for (const auto& fault : faults) {
        fs::remove_all(served("tree"));
        QProcess copy;
        start(copy, QStringLiteral(TERNVAULT_CLI), {u"copy"_s, path(source / "tree")});
        ASSERT_TRUE(eventually([] { return fs::exists(served("tree/20")); }, 15s));
        fault();
        const Outcome outcome = finish(copy);
        EXPECT_EQ(outcome.status, 0) << outcome.errors << log();
        EXPECT_NE(log().find("FAIL attempt 1: tree"), std::string::npos) << "the fault came too late";
        const Outcome compared =
            run(u"/usr/bin/diff"_s, {u"-r"_s, path(source / "tree"), path(served("tree"))});
        EXPECT_EQ(compared.status, 0) << compared.output;
        EXPECT_EQ(cli({u"eject"_s}).status, 0);
        EXPECT_TRUE(isVolumesRootEmpty());
        fs::remove(home / ".local/share/Tern Vault/transfer.log");
    }
}

} // namespace
} // namespace ternvault::test

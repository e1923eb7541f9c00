#include "platform/linux/LinuxProcessLauncher.h"
#include "platform/linux/LockedCopyTurns.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>

namespace ternvault::test {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

TEST(CopyTurns, OneAtATimePerVolumeUntilTheLastProgramThatHoldsItEnds) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "root");
    fs::create_directory_symlink(folder / "root", folder / "same");
    LockedCopyTurns turns(folder / "state/mounts");
    LinuxProcessLauncher launcher{ProgramTable()};
    std::optional<FileDescriptor> turn = turns.take(folder / "root/a b", 0ms);
    ASSERT_TRUE(turn);
    EXPECT_FALSE(turns.take(folder / "same/a b", 1ms));
    EXPECT_TRUE(turns.take(folder / "root/other", 0ms));

    const auto leaveRunning = [&](auto run) {
        return run(u"/bin/sh"_s, QStringList{u"-c"_s, u"sleep 600 & echo $!"_s})
            .standardOutput.trimmed()
            .toInt();
    };
    const pid_t holder = leaveRunning([&](auto... call) { return launcher.runHolding(*turn, call...); });
    const pid_t other = leaveRunning([&](auto... call) { return launcher.run(call...); });
    turn.reset();
    EXPECT_FALSE(turns.take(folder / "root/a b", 0ms)) << "the program goes on without its starter";
    ASSERT_EQ(::kill(holder, SIGKILL), 0);
    EXPECT_TRUE(turns.take(folder / "root/a b", 10s));
    ::kill(other, SIGKILL);

    writeFile(folder / "no folder", "");
    EXPECT_THROW(LockedCopyTurns(folder / "no folder").take(folder / "root/a", 0ms), std::system_error);
}

} // namespace ternvault::test

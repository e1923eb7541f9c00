#include "platform/linux/LinuxProcessLauncher.h"

#include <gtest/gtest.h>

#include <csignal>
#include <thread>

namespace ternvault {

using namespace Qt::StringLiterals;

const QString shell = u"/bin/sh"_s;

TEST(ProcessLauncher, CapturesBothFloodedStreamsInFullOnAnyThread) {
    LinuxProcessLauncher launcher{ProgramTable()};
    ProcessResult result;
    std::thread([&] {
        result = launcher.run(shell, {u"-c"_s, u"head -c 100M /dev/zero | tr '\\0' e >&2 & "
                                               "head -c 100M /dev/zero | tr '\\0' o; wait"_s});
    }).join();
    EXPECT_TRUE(result.succeeded());
    EXPECT_EQ(result.standardOutput.count('o'), 100 << 20);
    EXPECT_EQ(result.standardError.count('e'), 100 << 20);
}

TEST(ProcessLauncher, TellsExitStatusSignalAndStartFailureApart) {
    LinuxProcessLauncher launcher{ProgramTable()};
    const std::tuple<QString, QStringList, int, bool> cases[] = {
        {shell, {u"-c"_s, u"exit 127"_s}, 127, true},
        {shell, {u"-c"_s, u"kill -KILL $$"_s}, SIGKILL, true},
        {u"/nonexistent/program"_s, {}, 0, false},
        {u"/etc/passwd"_s, {}, 0, false},
    };
    for (const auto& [program, arguments, exitStatus, starts] : cases) {
        const ProcessResult result = launcher.run(program, arguments);
        const std::string trace = (program + arguments.join(u' ')).toStdString();
        EXPECT_EQ(result.startError.has_value(), !starts) << trace;
        EXPECT_EQ(result.exitStatus, exitStatus) << trace;
        EXPECT_EQ(result.succeeded(), starts && exitStatus == 0) << trace;
        EXPECT_EQ(launcher.isExecutable(program), starts) << trace;
    }
}

} // namespace ternvault

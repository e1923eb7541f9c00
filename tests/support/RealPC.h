#pragma once

#include "support/TemporaryFolder.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QTest>

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <sstream>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

namespace ternvault::test {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

struct Outcome {
    int status = -1;
    std::string output;
    std::string errors;
    std::chrono::milliseconds took{0};
};

/// The private PC that the test runs beside, and a user's home of the test's own.
class RealPC : public testing::Test {
protected:
    RealPC() {
        environment.insert(u"HOME"_s, path(home.path()));
        environment.insert(u"TERNVAULT_VOLUMES_ROOT"_s, path(volumes.path()));
        for (const char* name : {"DBUS_SESSION_BUS_ADDRESS", "XDG_CONFIG_HOME", "XDG_DATA_HOME",
                                 "XDG_STATE_HOME", "XDG_RUNTIME_DIR"})
            environment.remove(QLatin1String(name));
    }

    /// For services inside the test's own process: nothing of the user's session stays in reach.
    void takeEnvironment() const {
        for (const QString& name : QProcessEnvironment::systemEnvironment().keys())
            qunsetenv(name.toLocal8Bit().constData());
        for (const QString& name : environment.keys())
            qputenv(name.toLocal8Bit().constData(), environment.value(name).toLocal8Bit());
    }

    static QString path(const fs::path& file) { return QString::fromStdString(file.string()); }
    static fs::path pc() { return qgetenv("TERNVAULT_PC").toStdString(); }
    static std::string read(const char* name) { return readFile(pc() / name); }
    fs::path volume() const { return volumes / "MOSSBOX1"; }
    static fs::path served(const std::string& name = {}) { return pc() / "share" / name; }

    void start(QProcess& process, const QString& program, const QStringList& arguments) const {
        process.setProcessEnvironment(environment);
        process.start(program, arguments);
        ASSERT_TRUE(process.waitForStarted()) << program.toStdString();
    }
    Outcome finish(QProcess& process, std::chrono::seconds limit = std::chrono::seconds(250)) const {
        QElapsedTimer timer;
        timer.start();
        process.closeWriteChannel();
        if (process.state() != QProcess::NotRunning &&
            !process.waitForFinished(static_cast<int>(std::chrono::milliseconds(limit).count()))) {
            ADD_FAILURE() << "did not end in time: " << process.arguments().join(u' ').toStdString();
            process.kill();
            process.waitForFinished(5000);
        }
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                process.readAllStandardOutput().toStdString(), process.readAllStandardError().toStdString(),
                std::chrono::milliseconds(timer.elapsed())};
    }
    Outcome run(const QString& program, const QStringList& arguments, const std::string& input = {}) const {
        QProcess process;
        start(process, program, arguments);
        process.write(QByteArray::fromStdString(input));
        return finish(process);
    }
    void startTool(QProcess& process, const QStringList& arguments) const {
        start(process, tool.front(), tool.mid(1) + arguments);
    }
    Outcome cli(const QStringList& arguments, const std::string& input = {}) const {
        return run(tool.front(), tool.mid(1) + arguments, input);
    }
    /// stop, start, kill, pause or resume the server.
    void server(const char* command) const {
        const Outcome outcome = run(QStringLiteral(TERNVAULT_PRIVATE_PC), {QString::fromLatin1(command)});
        ASSERT_EQ(outcome.status, 0) << outcome.errors;
    }
    void logIn() const {
        cli({u"set"_s, u"serverIP"_s, QString::fromStdString(read("address"))});
        cli({u"set"_s, u"smbUser"_s, QString::fromStdString(read("user"))});
        const Outcome stored = cli({u"set"_s, u"smbPassword"_s}, read("password"));
        ASSERT_EQ(stored.status, 0) << stored.errors;
    }
    void mountShare() const {
        logIn();
        const Outcome mounted = cli({u"mount"_s});
        ASSERT_EQ(mounted.status, 0) << mounted.errors;
    }
    void eject() const {
        EXPECT_EQ(cli({u"eject"_s}).status, 0);
        EXPECT_TRUE(isVolumesRootEmpty());
    }
    /// Returns the error's number; 0 where it succeeded.
    static int setModified(const fs::path& file, std::time_t time, long nanoseconds = 0) {
        const timespec times[] = {{time, nanoseconds}, {time, nanoseconds}};
        return ::utimensat(AT_FDCWD, file.c_str(), times, 0) == 0 ? 0 : errno;
    }
    std::string log() const { return readFile(home / ".local/share/Tern Vault/transfer.log"); }
    /// What diff says about two trees, in which a link is a link.
    std::string difference(const fs::path& one, const fs::path& other) const {
        const Outcome compared =
            run(u"/usr/bin/diff"_s, {u"-r"_s, u"--no-dereference"_s, path(one), path(other)});
        return compared.output + compared.errors;
    }
    bool isVolumesRootEmpty() const { return fs::is_empty(volumes.path()); }

    /// The processes that serve the volumes, and with `keepers` those that look after them too.
    static std::vector<pid_t> volumeProcesses(bool keepers) {
        const auto isVolume = [](const std::string& pid) {
            return readFile(fs::path("/proc") / pid / "comm") == "ternvault-volum\n";
        };
        std::vector<pid_t> found;
        for (const auto& entry : fs::directory_iterator("/proc")) {
            const std::string pid = entry.path().filename().string();
            if (!isVolume(pid))
                continue;
            // pid (comm) state parent ...
            std::istringstream status(readFile(entry.path() / "stat"));
            std::string parent;
            status >> parent >> parent >> parent >> parent;
            if (keepers || isVolume(parent))
                found.push_back(std::stoi(pid));
        }
        return found;
    }
    static void signalDaemons(int signal, bool keepers = false) {
        const std::vector<pid_t> daemons = volumeProcesses(keepers);
        ASSERT_FALSE(daemons.empty());
        for (const pid_t daemon : daemons)
            ::kill(daemon, signal);
    }

    /// In this order: where a keeper leaves a stopped daemon behind, the kernel wakes and ends that.
    static pid_t stopDaemonWithoutKeeper() {
        const pid_t daemon = volumeProcesses(false).at(0);
        for (const pid_t process : volumeProcesses(true)) {
            if (process != daemon)
                ::kill(process, SIGKILL);
        }
        EXPECT_TRUE(eventually([] { return volumeProcesses(true).size() == 1; }, 5s));
        ::kill(daemon, SIGSTOP);
        const fs::path status = fs::path("/proc") / std::to_string(daemon) / "stat";
        EXPECT_TRUE(eventually([&] { return readFile(status).find(") T ") != std::string::npos; }, 5s));
        return daemon;
    }

    /// Whether `condition` came true within `limit`; the main loop goes on meanwhile.
    template <typename Condition>
    static bool eventually(Condition condition, std::chrono::seconds limit) {
        return QTest::qWaitFor(condition, static_cast<int>(std::chrono::milliseconds(limit).count()));
    }

    TemporaryFolder home;
    TemporaryFolder volumes;
    TemporaryFolder source;
    /// The command line tool, with what it is to be started by.
    QStringList tool{QStringLiteral(TERNVAULT_CLI)};
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
};

} // namespace ternvault::test

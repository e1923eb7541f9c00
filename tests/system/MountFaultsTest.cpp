#include "platform/linux/LinuxFileManager.h"
#include "support/RealPC.h"

#include <QTcpServer>
#include <QTcpSocket>

#include <algorithm>
#include <array>
#include <functional>
#include <list>
#include <set>

#include <sys/mount.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace ternvault::test {

class MountFaults : public RealPC {
protected:
    /// The machine has only this private PC's life to see another file at `place`.
    void cover(const fs::path& place, const std::string& contents) const {
        const fs::path cover = home / place.filename();
        writeFile(cover, contents);
        fs::permissions(cover, fs::perms(0755));
        ASSERT_EQ(::mount(cover.c_str(), place.c_str(), nullptr, MS_BIND, nullptr), 0);
    }
    /// Only others than root mount by fusermount3.
    void becomeAUserWithASlowFusermount() {
        const fs::path device = home / "fuse";
        ASSERT_EQ(::mknod(device.c_str(), S_IFCHR, makedev(10, 229)), 0);
        ::chmod(device.c_str(), 0666); // what it is on a desktop
        ASSERT_EQ(::mount(device.c_str(), "/dev/fuse", nullptr, MS_BIND, nullptr), 0);
        const fs::path real = home / "real-fusermount3";
        writeFile(real, "");
        ASSERT_EQ(::mount("/usr/bin/fusermount3", real.c_str(), nullptr, MS_BIND, nullptr), 0);
        cover("/usr/bin/fusermount3", "#!/bin/sh\nsleep 1.5\nexec " + real.string() + " \"$@\"\n");
        for (const fs::path& folder : {home.path(), volumes.path(), source.path()})
            ASSERT_EQ(::chown(folder.c_str(), 65534, 65534), 0);
        tool =
            QStringList{u"/usr/bin/setpriv"_s, u"--reuid=65534"_s, u"--regid=65534"_s, u"--clear-groups"_s} +
            tool;
    }
    void expectTogether(std::size_t count, const QStringList& arguments, int status) const {
        std::list<QProcess> processes(count);
        for (QProcess& process : processes)
            startTool(process, arguments);
        for (QProcess& process : processes)
            EXPECT_EQ(finish(process).status, status);
    }
};

TEST_F(MountFaults, AnEntryIsNoVolumeBeforeItIsMountedAndFilesThatGotBelowAreNamed) {
    becomeAUserWithASlowFusermount();
    logIn();
    const auto mountAnd = [&](const auto& meanwhile) {
        QProcess process;
        startTool(process, {u"mount"_s});
        EXPECT_TRUE(eventually([&] { return fs::exists(volume()); }, 5s));
        EXPECT_EQ(cli({u"status"_s}).status, 3);
        meanwhile();
        return finish(process);
    };
    Outcome mounted = mountAnd([&] { writeFile(volume() / "stray", "local"); });
    for (int attempt = 0; attempt < 2; ++attempt) {
        EXPECT_EQ(mounted.status, 1);
        EXPECT_NE(mounted.errors.find("stray"), std::string::npos) << mounted.errors;
        EXPECT_EQ(readFile(volume() / "stray"), "local");
        EXPECT_EQ(cli({u"status"_s}).status, 3);
        mounted = cli({u"mount"_s});
    }
    ASSERT_EQ(::chmod(volume().c_str(), 0700), 0);
    EXPECT_EQ(cli({u"status"_s}).status, 3) << "opened, it is still none";
    fs::rename(volume() / "stray", source / "stray");
    writeFile(source / "item", "bytes");
    mounted = mountAnd([&] { EXPECT_EQ(cli({u"copy"_s, path(source / "item")}).status, 0); });
    EXPECT_EQ(mounted.status, 0) << mounted.errors;
    EXPECT_EQ(readFile(served("item")), "bytes");
    eject();
    ::umount2("/usr/bin/fusermount3", MNT_DETACH);
    ::umount2("/dev/fuse", MNT_DETACH);
}

TEST_F(MountFaults, AnEjectEndsWhateverServesTheVolumeAndLeavesNothing) {
    logIn();
    const std::function<void()> faults[] = {
        [&] { server("pause"); },
        [] { stopDaemonWithoutKeeper(); },
        [&] {
            const pid_t daemon = stopDaemonWithoutKeeper();
            EXPECT_EQ(cli({u"mount"_s}).status, 0) << "in its place";
            ASSERT_NE(::kill(daemon, 0), 0);
        },
    };
    for (const auto& fault : faults) {
        ASSERT_EQ(cli({u"mount"_s}).status, 0);
        fault();
        const Outcome ejected = cli({u"eject"_s});
        EXPECT_TRUE(ejected.output.starts_with("Ejected ")) << ejected.errors;
        EXPECT_LT(ejected.took, 9s);
        EXPECT_TRUE(isVolumesRootEmpty());
        EXPECT_TRUE(eventually([] { return volumeProcesses(true).empty(); }, 2s));
        server("resume");
    }
}

TEST_F(MountFaults, AMountWhoseProcessesAreKilledSaysSoAndLeavesNothing) {
    QTcpServer silent;
    ASSERT_TRUE(silent.listen(QHostAddress(u"127.0.0.77"_s), 445));
    logIn();
    cli({u"set"_s, u"serverIP"_s, u"127.0.0.77"_s});
    for (const bool keeper : {true, false}) {
        QProcess process;
        startTool(process, {u"mount"_s});
        // The front process, the keeper, the daemon.
        ASSERT_TRUE(eventually([&] { return volumeProcesses(true).size() == 3; }, 5s));
        auto processes = volumeProcesses(true);
        std::ranges::sort(processes);
        ::kill(processes[keeper ? 1 : 2], SIGKILL);
        const Outcome mounted = finish(process);
        EXPECT_EQ(mounted.errors, "Mount failed: The program that serves the volume ended unexpectedly.\n");
        EXPECT_TRUE(isVolumesRootEmpty());
        EXPECT_TRUE(eventually([] { return volumeProcesses(true).empty(); }, 2s));
    }
}

TEST_F(MountFaults, ANameWhoseOtherAddressIsSilentIsMounted) {
    // A full backlog drops what asks for a connection.
    QTcpServer silent;
    silent.setListenBacklogSize(0);
    ASSERT_TRUE(silent.listen(QHostAddress(u"127.0.0.66"_s), 445));
    std::array<QTcpSocket, 3> backlog;
    for (QTcpSocket& socket : backlog)
        socket.connectToHost(silent.serverAddress(), 445);
    const std::string other = read("address");
    cover("/etc/hosts", "127.0.0.66 silent-first\n" + other + " silent-first\n" + other +
                            " silent-last\n127.0.0.66 silent-last\n");
    logIn();
    for (const QString& name : {u"silent-first"_s, u"silent-last"_s}) {
        cli({u"set"_s, u"serverIP"_s, name});
        const Outcome mounted = cli({u"mount"_s});
        EXPECT_EQ(mounted.status, 0) << mounted.errors;
        EXPECT_LT(mounted.took, 3s);
        eject();
    }
    ::umount2("/etc/hosts", MNT_DETACH);
}

TEST_F(MountFaults, TroublesOfThisComputerAreNotToldAsTheServers) {
    logIn();
    const fs::path state = home / ".local/state/ternvault/mounts";
    fs::create_directories(state);
    ASSERT_EQ(::mount("none", state.c_str(), "tmpfs", 0, "size=8k"), 0);
    const auto expectLocal = [&] {
        const Outcome mounted = cli({u"mount"_s});
        EXPECT_EQ(mounted.status, 1);
        EXPECT_NE(mounted.errors.find(state.string()), std::string::npos) << mounted.errors;
        EXPECT_EQ(mounted.errors.find("server"), std::string::npos) << mounted.errors;
        EXPECT_TRUE(isVolumesRootEmpty());
    };
    run(u"/bin/dd"_s, {u"if=/dev/zero"_s, u"of="_s + path(state / "filler")});
    expectLocal();
    fs::remove_all(state / "samba");
    // Not while the keeper still ends, with its lock in hand.
    ASSERT_TRUE(eventually(
        [&] { return ::mount(nullptr, state.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) == 0; }, 5s));
    expectLocal();
    EXPECT_EQ(cli({u"status"_s}).status, 3);
    ::umount2(state.c_str(), MNT_DETACH);
}

TEST_F(MountFaults, EveryReasonIsToldInTimeAndLeavesNothing) {
    QTcpServer silent; // accepts in its backlog and never answers
    ASSERT_TRUE(silent.listen(QHostAddress(u"127.0.0.77"_s), 445));
    const QString host = QString::fromStdString(read("address"));
    const QString rows[][3] = {
        {host, u"MOSSBOX1"_s, u"wrong"_s},
        {host, u"NOSUCHSHARE"_s, {}},
        {u"127.0.0.99"_s, u"MOSSBOX1"_s, {}},
        {u"127.0.0.77"_s, u"MOSSBOX1"_s, {}},
        {u"no-such-host.invalid"_s, u"MOSSBOX1"_s, {}},
        {host, u".."_s, {}},
    };
    logIn();
    std::set<std::string> reasons;
    for (const auto& [address, share, password] : rows) {
        cli({u"set"_s, u"serverIP"_s, address});
        cli({u"set"_s, u"selectedShare"_s, share});
        cli({u"set"_s, u"smbPassword"_s}, password.isEmpty() ? read("password") : password.toStdString());
        const Outcome outcome = cli({u"mount"_s});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_TRUE(outcome.errors.starts_with("Mount failed: ")) << outcome.errors;
        EXPECT_LT(outcome.took, 10s) << outcome.errors;
        EXPECT_TRUE(isVolumesRootEmpty()) << outcome.errors;
        EXPECT_EQ(cli({u"status"_s}).status, 3);
        reasons.insert(outcome.errors);
    }
    EXPECT_EQ(reasons.size(), std::size(rows)) << "each reason has words of its own";
}

TEST_F(MountFaults, TwoMountsAtOnceYieldOneVolume) {
    logIn();
    expectTogether(2, {u"mount"_s}, 0);
    const std::string mounts = readFile("/proc/self/mounts");
    EXPECT_EQ(mounts.find(volume().string()), mounts.rfind(volume().string()));
    EXPECT_EQ(readFile(volumes / ".hidden"), "MOSSBOX1\n");
    eject();
}

TEST_F(MountFaults, AnUnusableVolumesRootIsToldBeforeAnythingIsDone) {
    for (const QString& unusable : {u"relative/folder"_s, u"/etc/passwd"_s}) {
        environment.insert(u"TERNVAULT_VOLUMES_ROOT"_s, unusable);
        EXPECT_EQ(cli({u"set"_s, u"smbUser"_s, u"anna"_s}).status, 2);
    }
    EXPECT_TRUE(std::filesystem::is_empty(home.path()));
}

TEST_F(MountFaults, ProcessesThatStartTogetherKeepThePassword) {
    logIn();
    for (int round = 0; round < 20; ++round) {
        expectTogether(3, {u"status"_s}, 3);
        ASSERT_EQ(cli({u"get"_s, u"smbPassword"_s}).output, "(set)\n");
    }
}

TEST_F(MountFaults, AStoppedDaemonHangsNoQuestionAndItsEntryGoes) {
    mountShare();
    const LinuxFileManager files(volumes.path());
    const auto identity = files.volumeIdentity(volume());
    EXPECT_NE(identity, files.volumeIdentity(volumes.path()));
    signalDaemons(SIGSTOP);
    const auto stopped = std::chrono::steady_clock::now();
    EXPECT_TRUE(files.exists(volume()) && files.isDirectory(volume()));
    EXPECT_EQ(files.volumeIdentity(volume()), identity);
    EXPECT_LT(std::chrono::steady_clock::now() - stopped, 1s);
    EXPECT_LT(cli({u"status"_s}).took, 3s);
    EXPECT_TRUE(eventually([&] { return isVolumesRootEmpty(); }, 15s));
}

} // namespace ternvault::test

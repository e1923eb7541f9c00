#include "base/FileDescriptor.h"
#include "platform/linux/LinuxFileManager.h"
#include "support/RealPC.h"

#include <QTcpServer>

#include <array>
#include <set>

#include <arpa/inet.h>
#include <sys/mount.h>
#include <sys/socket.h>

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
};

TEST_F(MountFaults, ANameWhoseOtherAddressIsSilentIsMounted) {
    // A full backlog drops what asks for a connection.
    sockaddr_in silent{};
    silent.sin_family = AF_INET;
    silent.sin_port = htons(445);
    ::inet_pton(AF_INET, "127.0.0.66", &silent.sin_addr);
    std::array<FileDescriptor, 4> sockets;
    for (FileDescriptor& socket : sockets) {
        socket = FileDescriptor(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0));
        const auto* address = reinterpret_cast<const sockaddr*>(&silent);
        if (&socket == &sockets.front()) {
            ASSERT_EQ(::bind(socket.get(), address, sizeof silent), 0);
            ::listen(socket.get(), 0);
        } else {
            ::connect(socket.get(), address, sizeof silent);
        }
    }
    const std::string other = read("address");
    cover("/etc/hosts", "127.0.0.66 silent-first\n" + other + " silent-first\n" + other +
                            " silent-last\n127.0.0.66 silent-last\n");
    logIn();
    for (const QString& name : {u"silent-first"_s, u"silent-last"_s}) {
        cli({u"set"_s, u"serverIP"_s, name});
        const Outcome mounted = cli({u"mount"_s});
        EXPECT_EQ(mounted.status, 0) << mounted.errors;
        EXPECT_LT(mounted.took, 3s);
        EXPECT_EQ(cli({u"eject"_s}).status, 0);
    }
    ::umount2("/etc/hosts", MNT_DETACH);
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
    std::array<QProcess, 2> processes;
    for (QProcess& process : processes)
        start(process, QStringLiteral(TERNVAULT_CLI), {u"mount"_s});
    for (QProcess& process : processes)
        EXPECT_EQ(finish(process).status, 0);
    const std::string mounts = readFile("/proc/self/mounts");
    EXPECT_EQ(mounts.find(volume().string()), mounts.rfind(volume().string()));
    EXPECT_EQ(readFile(volumes / ".hidden"), "MOSSBOX1\n");
    EXPECT_EQ(cli({u"eject"_s}).status, 0);
    EXPECT_TRUE(isVolumesRootEmpty());
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
        std::array<QProcess, 3> processes;
        for (QProcess& process : processes)
            start(process, QStringLiteral(TERNVAULT_CLI), {u"status"_s});
        for (QProcess& process : processes)
            finish(process);
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
    EXPECT_EQ(cli({u"mount"_s}).status, 0);
    signalDaemons(SIGKILL);
    EXPECT_TRUE(eventually([&] { return isVolumesRootEmpty(); }, 5s));
}

TEST_F(MountFaults, APlainDirectoryOfSomebodyElseCountsAsAVolumeAndStays) {
    std::filesystem::create_directory(volume());
    EXPECT_EQ(cli({u"status"_s}).status, 0);
    EXPECT_EQ(cli({u"eject"_s}).status, 1) << "not ours to take away";
    EXPECT_TRUE(std::filesystem::exists(volume()));
}

} // namespace ternvault::test

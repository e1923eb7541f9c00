#include "agent/AgentRecords.h"
#include "support/RealPC.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <sys/statvfs.h>

namespace ternvault::test {

class Agent : public RealPC {
protected:
    void startAgent() const {
        const Outcome started = run(QStringLiteral(TERNVAULT_PRIVATE_PC),
                                    {u"agent"_s, u"start"_s, QStringLiteral(MOSSBOX_AGENT)});
        ASSERT_EQ(started.status, 0) << started.errors;
        cli({u"set"_s, u"serverIP"_s, QString::fromStdString(read("address"))});
        cli({u"set"_s, u"agentToken"_s}, read("token"));
    }
    DisksResponse askForDisks() const {
        return decodeDisksResponse(QByteArray::fromStdString(cli({u"disks"_s, u"--json"_s}).output));
    }
};

TEST_F(Agent, TellsWhatThisMachineHas) {
    startAgent();
    const DisksResponse told = askForDisks();

    const QByteArray listed = QByteArray::fromStdString(
        run(u"lsblk"_s, {u"--json"_s, u"--bytes"_s, u"--nodeps"_s, u"--output"_s, u"NAME,SIZE"_s}).output);
    const QJsonArray devices = QJsonDocument::fromJson(listed)[u"blockdevices"_s].toArray();
    EXPECT_FALSE(told.disks.empty()) << "this machine has no disk to tell of";
    for (const ServerDisk& disk : told.disks)
        EXPECT_TRUE(
            devices.contains(QJsonObject{{u"name"_s, disk.name}, {u"size"_s, qint64(disk.size_bytes)}}));

    const std::string shares = run(u"testparm"_s, {u"-s"_s, path(pc() / "smbd/smb.conf")}).output;
    EXPECT_EQ(told.shares.size(), 3U);
    for (const ServerShare& share : told.shares) {
        const QString section = u"["_s + share.name + u"]\n\tpath = "_s + share.path + u'\n';
        EXPECT_NE(shares.find(section.toStdString()), std::string::npos) << section.toStdString();
        struct statvfs numbers {};
        ASSERT_EQ(::statvfs(share.path.toUtf8().constData(), &numbers), 0);
        EXPECT_EQ(share.total_bytes, static_cast<std::int64_t>(numbers.f_blocks * numbers.f_frsize));
        // Others write meanwhile.
        EXPECT_NEAR(static_cast<double>(share.free_bytes),
                    static_cast<double>(numbers.f_bavail * numbers.f_frsize), 16 << 20);
    }
}

TEST_F(Agent, TellsOfTheRestWhileOneFileSystemIsDead) {
    mountShare();
    std::ofstream(pc() / "smbd/smb.conf", std::ios::app) << "[DEAD]\npath = " << volume().string() << '\n';
    startAgent();
    EXPECT_EQ(askForDisks().shares.back().name, u"DEAD");
    signalDaemons(SIGSTOP);
    const auto tellsOfTheRest = [this] {
        const auto began = std::chrono::steady_clock::now();
        const DisksResponse told = askForDisks();
        EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(5));
        return told.shares.size() == 3 && told.shares.back().name == u"SMALL";
    };
    EXPECT_TRUE(eventually(tellsOfTheRest, std::chrono::seconds(10)));
    signalDaemons(SIGCONT);
    EXPECT_TRUE(eventually([this] { return askForDisks().shares.size() == 4; }, std::chrono::seconds(10)));
}

} // namespace ternvault::test

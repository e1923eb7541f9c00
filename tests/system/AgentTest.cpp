#include "agent/AgentRecords.h"
#include "support/RealPC.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpSocket>

#include <algorithm>

#include <sys/statvfs.h>

namespace ternvault::test {

using namespace Qt::StringLiterals;

class Agent : public RealPC {
protected:
    QByteArray output(const QString& program, const QStringList& arguments) const {
        return QByteArray::fromStdString(run(program, arguments).output);
    }
    void startAgent() const {
        const Outcome started = run(QStringLiteral(TERNVAULT_PRIVATE_PC),
                                    {u"agent"_s, u"start"_s, QStringLiteral(MOSSBOX_AGENT)});
        ASSERT_EQ(started.status, 0) << started.errors;
    }
    DisksResponse askForDisks() const {
        QTcpSocket socket;
        socket.connectToHost(u"127.0.0.5"_s, 8743);
        EXPECT_TRUE(socket.waitForConnected(5000));
        const QByteArray token = QByteArray::fromStdString(read("token")).trimmed();
        socket.write("GET /api/disks HTTP/1.1\r\nHost: pc\r\nAuthorization: Bearer " + token + "\r\n\r\n");
        while (socket.waitForReadyRead(15000)) {
        }
        const QByteArray answer = socket.readAll();
        return decodeDisksResponse(answer.mid(answer.indexOf("\r\n\r\n") + 4));
    }
};

TEST_F(Agent, TellsWhatThisMachineHas) {
    startAgent();
    const DisksResponse told = askForDisks();

    const QJsonArray devices = QJsonDocument::fromJson(output(
        u"lsblk"_s, {u"--json"_s, u"--bytes"_s, u"--output-all"_s}))["blockdevices"_L1]
                                   .toArray();
    std::size_t disks = 0;
    for (const QJsonValue& value : devices) {
        const QJsonObject device = value.toObject();
        const bool isDisk = device["type"_L1].toString() == u"disk" && device["size"_L1].toInteger() > 0 &&
                            !device["name"_L1].toString().startsWith(u"zram");
        const auto disk = std::ranges::find(told.disks, device["name"_L1].toString(), &ServerDisk::name);
        ASSERT_EQ(disk != told.disks.end(), isDisk) << device["name"_L1].toString().toStdString();
        if (!isDisk)
            continue;
        ++disks;
        EXPECT_EQ(disk->size_bytes, device["size"_L1].toInteger());
        EXPECT_EQ(disk->model, device["model"_L1].toString().trimmed());
    }
    EXPECT_GT(disks, 0U) << "this machine has no disk to tell of";
    EXPECT_EQ(told.disks.size(), disks);

    const QByteArray shares = output(u"testparm"_s, {u"-s"_s, path(pc() / "smbd/smb.conf")});
    EXPECT_EQ(told.shares.size(), 3U);
    for (const ServerShare& share : told.shares) {
        EXPECT_TRUE(shares.contains("[" + share.name.toUtf8() + "]\n\tpath = " + share.path.toUtf8() + '\n'))
            << share.name.toStdString();
        struct statvfs numbers {};
        ASSERT_EQ(::statvfs(share.path.toUtf8().constData(), &numbers), 0);
        EXPECT_EQ(share.total_bytes, static_cast<std::int64_t>(numbers.f_blocks * numbers.f_frsize));
        // Others write meanwhile.
        EXPECT_NEAR(static_cast<double>(share.free_bytes),
                    static_cast<double>(numbers.f_bavail * numbers.f_frsize), 16 << 20);
        EXPECT_TRUE(share.smb_url.startsWith(u"smb://") && share.smb_url.endsWith(u'/' + share.name));
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

#pragma once

#include "support/TemporaryFolder.h"

#include <QProcess>

namespace ternvault::test {

/// A session bus of the test's own, which this process and its children use from then on.
class PrivateBus {
public:
    /// `services`: a folder of services that are started on demand; without one, none is.
    explicit PrivateBus(const std::filesystem::path& folder, const std::string& services = {})
        : address_("unix:path=" + folder.native() + "/bus"), configuration_(folder / "bus.conf") {
        const std::string demand = services.empty() ? "" : "<servicedir>" + services + "</servicedir>";
        writeFile(configuration_, "<busconfig><type>session</type><listen>" + address_ + "</listen>" +
                                      demand +
                                      "<policy context=\"default\"><allow send_destination=\"*\"/>"
                                      "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>");
    }
    ~PrivateBus() { stop(); }

    bool start() {
        qputenv("DBUS_SESSION_BUS_ADDRESS", QByteArray::fromStdString(address_));
        daemon_.start(QStringLiteral("dbus-daemon"),
                      {QStringLiteral("--nofork"), QStringLiteral("--print-address"),
                       QStringLiteral("--config-file=") + QString::fromStdString(configuration_.native())});
        return daemon_.waitForReadyRead(20'000);
    }
    void stop() {
        daemon_.kill();
        daemon_.waitForFinished();
    }
    pid_t processId() const { return static_cast<pid_t>(daemon_.processId()); }

private:
    std::string address_;
    std::filesystem::path configuration_;
    QProcess daemon_;
};

} // namespace ternvault::test

#pragma once

#include "support/TemporaryFolder.h"

#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QProcess>

namespace ternvault::test {

using namespace Qt::StringLiterals;

/// A session bus of the test's own, which this process and its children use from then on.
class PrivateBus {
public:
    /// `services`: a folder of services that are started on demand; without one, none is.
    explicit PrivateBus(const std::string& services = {}) {
        const std::string address = "unix:path=" + (folder_ / "bus").native();
        const std::string demand = services.empty() ? "" : "<servicedir>" + services + "</servicedir>";
        writeFile(folder_ / "bus.conf",
                  "<busconfig><type>session</type><listen>" + address + "</listen>" + demand +
                      "<policy context=\"default\"><allow send_destination=\"*\"/>"
                      "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>");
        qputenv("DBUS_SESSION_BUS_ADDRESS", address.c_str());
        daemon_.start(u"dbus-daemon"_s, {u"--nofork"_s, u"--print-address"_s,
                                         u"--config-file="_s + QString::fromStdString(folder_ / "bus.conf")});
        if (!daemon_.waitForReadyRead(20'000))
            throw std::runtime_error("no session bus");
    }
    ~PrivateBus() { stop(); }

    void stop() {
        daemon_.kill();
        daemon_.waitForFinished();
    }
    pid_t processId() const { return static_cast<pid_t>(daemon_.processId()); }

private:
    TemporaryFolder folder_;
    QProcess daemon_;
};

/// A service of the desktop with one object on that bus.
class BusService : public QDBusVirtualObject {
protected:
    BusService(const QString& name, const QString& path)
        : bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, name)) {
        bus.registerVirtualObject(path, this);
        bus.registerService(name);
    }
    ~BusService() override { QDBusConnection::disconnectFromBus(bus.name()); }
    QString introspect(const QString&) const override { return {}; }

    QDBusConnection bus;
};

} // namespace ternvault::test

#include "app/TrayIcon.h"

#include "app/ApplicationIcon.h"
#include "app/Commands.h"
#include "platform/linux/SessionBus.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QTimer>

#include <chrono>
#include <utility>

namespace ternvault {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const auto watcherService = u"org.kde.StatusNotifierWatcher"_s;
/// How long a panel may take to come up after login: one that is heard of on the bus, and one that is not.
constexpr auto patience = 60s;
constexpr auto patienceWithoutBus = 10s;

} // namespace

TrayIcon::TrayIcon(Commands& commands, std::function<void()> clicked) : clicked_(std::move(clicked)) {
    menu_.setTitle(u"Tern Vault"_s);
    commands.fillTrayMenu(menu_);
    awaitTray();
}

/// Qt decides once per process, at the first look, which kind of tray the desktop has. So there is no look
/// before a tray of today's kind is on the bus, or it is clear that none comes; Qt follows one of the older
/// kind by itself.
void TrayIcon::awaitTray() {
    const bool hasBus = sessionHasBus() && QDBusConnection::sessionBus().isConnected();
    if (hasBus) {
        QDBusConnection bus = QDBusConnection::sessionBus();
        auto* const arrivals = new QDBusServiceWatcher(watcherService, bus,
                                                       QDBusServiceWatcher::WatchForRegistration, &context_);
        QObject::connect(arrivals, &QDBusServiceWatcher::serviceRegistered, &context_, [this] { show(); });
        auto* const answer = new QDBusPendingCallWatcher(
            bus.interface()->asyncCall(u"NameHasOwner"_s, watcherService), &context_);
        QObject::connect(answer, &QDBusPendingCallWatcher::finished, &context_, [this, answer] {
            const QDBusPendingReply<bool> reply = *answer;
            if (reply.isValid() && reply.value())
                show();
        });
    }
    QTimer::singleShot(hasBus ? patience : patienceWithoutBus, &context_, [this] { show(); });
}

void TrayIcon::show() {
    if (icon_)
        return;
    icon_ = std::make_unique<QSystemTrayIcon>(applicationIcon());
    icon_->setToolTip(u"Tern Vault"_s);
    icon_->setContextMenu(&menu_);
    QObject::connect(icon_.get(), &QSystemTrayIcon::activated, &context_,
                     [this](QSystemTrayIcon::ActivationReason reason) {
                         if (reason == QSystemTrayIcon::Trigger)
                             clicked_();
                     });
    icon_->show();
}

} // namespace ternvault

#include "platform/linux/DesktopNotification.h"

#include "platform/linux/SessionBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

const auto service = u"org.freedesktop.Notifications"_s;
const auto path = u"/org/freedesktop/Notifications"_s;
const auto defaultAction = u"default"_s;
const auto application = u"space.larkspur.ternvault"_s;
constexpr int serviceDecidesHowLong = -1;

} // namespace

void DesktopNotification::show(const QString& line) {
    if (!sessionHasBus())
        return;
    next_ = line;
    if (!std::exchange(isListening_, true))
        listen();
    if (!isSending_)
        send();
}

/// To whoever sends them: asking the bus who the service is would wait.
void DesktopNotification::listen() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.connect(QString(), path, service, u"ActionInvoked"_s, this, SLOT(onActionInvoked(uint, QString)));
    bus.connect(QString(), path, service, u"ActivationToken"_s, this, SLOT(onActivationToken(uint, QString)));
}

void DesktopNotification::send() {
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, service, u"Notify"_s);
    // All of the text is the summary, because a body is markup to some services and plain text to others.
    call << u"Tern Vault"_s << id_ << application << *std::exchange(next_, std::nullopt) << QString()
         << QStringList{defaultAction, u"Open Tern Vault"_s} << QVariantMap{{u"desktop-entry"_s, application}}
         << serviceDecidesHowLong;
    isSending_ = true;
    auto* const answer = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        const QDBusPendingReply<uint> reply = *answer;
        answer->deleteLater();
        if (reply.isValid())
            id_ = reply.value();
        isSending_ = false;
        if (next_)
            send();
    });
}

void DesktopNotification::onActivationToken(uint id, const QString& token) {
    if (id == id_)
        token_ = token;
}

void DesktopNotification::onActionInvoked(uint id, const QString& action) {
    if (id == id_ && action == defaultAction)
        chosen_(std::exchange(token_, QString()));
}

} // namespace ternvault

#include "platform/linux/PortalAppearance.h"

#include "platform/linux/SessionBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

const auto service = u"org.freedesktop.portal.Desktop"_s;
const auto path = u"/org/freedesktop/portal/desktop"_s;
const auto interface = u"org.freedesktop.portal.Settings"_s;
const auto appearanceSpace = u"org.freedesktop.appearance"_s;
const auto colourSchemeKey = u"color-scheme"_s;

/// Values of the key. Everything else means no preference.
constexpr uint preferDark = 1;
constexpr uint preferLight = 2;

/// Read answers a variant in a variant.
QVariant unwrapped(QVariant value) {
    while (value.metaType() == QMetaType::fromType<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

std::optional<bool> preferenceOf(const QVariant& value) {
    switch (unwrapped(value).toUInt()) {
    case preferDark:
        return true;
    case preferLight:
        return false;
    default:
        return std::nullopt;
    }
}

} // namespace

PortalAppearance::PortalAppearance(bool isPlatformDark) : isPlatformDark_(isPlatformDark) {
    if (!sessionHasBus() || !QDBusConnection::sessionBus().isConnected())
        return;
    // Qt looks the slot's types up by name.
    qRegisterMetaType<QDBusVariant>();
    QDBusConnection::sessionBus().connect(service, path, interface, u"SettingChanged"_s, this,
                                          SLOT(onSettingChanged(QString, QString, QDBusVariant)));
    ask();
}

void PortalAppearance::ask() {
    QDBusMessage question = QDBusMessage::createMethodCall(service, path, interface, u"Read"_s);
    question << appearanceSpace << colourSchemeKey;
    auto* const answer = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        const QDBusPendingReply<QVariant> reply = *answer;
        answer->deleteLater();
        if (reply.isValid())
            take(reply.value());
    });
}

void PortalAppearance::onSettingChanged(const QString& space, const QString& key, const QDBusVariant& value) {
    if (space == appearanceSpace && key == colourSchemeKey)
        take(value.variant());
}

void PortalAppearance::take(const QVariant& value) {
    const bool wasDark = isDark();
    preference_ = preferenceOf(value);
    if (isDark() != wasDark)
        changed.emit();
}

} // namespace ternvault

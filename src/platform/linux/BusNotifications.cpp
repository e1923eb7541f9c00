#include "platform/linux/BusNotifications.h"

#include "platform/linux/SessionBus.h"

#include <QDBusConnection>
#include <QDBusMessage>

#include <utility>

namespace ternvault {

void BusNotifications::observe(const QString& name, std::function<void()> received) {
    if (!sessionHasBus())
        return;
    if (!observers_.contains(name)) {
        const qsizetype dot = name.lastIndexOf(u'.');
        QDBusConnection::sessionBus().connect(QString(), QString(), name.left(dot), name.mid(dot + 1), this,
                                              SLOT(onSignal(QDBusMessage)));
    }
    observers_.emplace(name, std::move(received));
}

void BusNotifications::onSignal(const QDBusMessage& signal) {
    const auto [begin, end] = observers_.equal_range(signal.interface() + u'.' + signal.member());
    for (auto observer = begin; observer != end; ++observer)
        observer->second();
}

} // namespace ternvault

#pragma once

#include "platform/NotificationCenter.h"

#include <QObject>

#include <map>

class QDBusMessage;

namespace ternvault {

/// Notifications as signals of the session bus, whatever object sends them: what stands before the last dot
/// of the name is the interface, what follows is the member. Without a bus none come.
class BusNotifications final : public QObject, public NotificationCenter {
    Q_OBJECT

public:
    void observe(const QString& name, std::function<void()> received) override;

private:
    Q_SLOT void onSignal(const QDBusMessage& signal);

    std::multimap<QString, std::function<void()>> observers_;
};

} // namespace ternvault

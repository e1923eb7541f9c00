#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace ternvault {

/// Secrets of the user, one per (service, account). Never shows a prompt that the caller would wait for.
/// The first change of an item after this process has read it is made only while the item still is what was
/// read: what another process has stored meanwhile is newer, and stays. Any thread.
class SecretStore {
public:
    virtual ~SecretStore() = default;

    /// The stored bytes; nothing when there is no such item or it cannot be read.
    virtual std::optional<QByteArray> find(const QString& service, const QString& account) = 0;
    /// Whether it is certain that there is no such item.
    virtual bool isAbsent(const QString& service, const QString& account) = 0;
    /// Stores an item in place of the one there may be, readable once the user has unlocked the store after
    /// login. No reader finds it missing in between. False when it could not be stored.
    virtual bool add(const QString& service, const QString& account, const QByteArray& secret) = 0;
    /// Removes the item if there is one.
    virtual void remove(const QString& service, const QString& account) = 0;
};

} // namespace ternvault

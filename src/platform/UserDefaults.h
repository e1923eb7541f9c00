#pragma once

#include <QString>
#include <QVariant>

#include <optional>

namespace ternvault {

/// The user's settings: typed values under string keys. A value is a QString, bool, double, qlonglong,
/// QByteArray, QDateTime, QVariantList or QVariantMap. Main thread only.
class UserDefaults {
public:
    virtual ~UserDefaults() = default;

    /// The value with the type it was stored with, or nothing when the key is absent.
    virtual std::optional<QVariant> object(const QString& key) const = 0;
    /// Written through at once. A failure is reported to the log and the value is kept for this process.
    virtual void set(const QString& key, const QVariant& value) = 0;
    virtual void remove(const QString& key) = 0;
    /// As `set`, but only while the key still holds what `object` told of it last, or what this process
    /// stored since: what another process has stored meanwhile is newer, and stays.
    virtual void writeBack(const QString& key, const QVariant& value) = 0;

    /// A stored string as it is, a stored number as its text; anything else counts as absent.
    std::optional<QString> string(const QString& key) const;
    /// A stored Boolean, or a stored number 0 or 1; anything else counts as absent.
    std::optional<bool> boolean(const QString& key) const;
};

} // namespace ternvault

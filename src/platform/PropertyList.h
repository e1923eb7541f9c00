#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <variant>

namespace ternvault {

/// Why a property list cannot be read.
struct PropertyListError {
    qint64 line = 0;
    QString reason;
};

/// Decodes an XML property list into QString, qlonglong (qulonglong beyond its range), double, bool,
/// QByteArray, QDateTime (UTC), QVariantList and QVariantMap.
std::variant<QVariant, PropertyListError> readPropertyList(const QByteArray& xml);

/// Encodes a value of these types, to any depth that can be read again; an `int` becomes a qlonglong. Every
/// text survives: one that XML cannot hold is written in base64. Dates are kept to the second. Throws
/// std::invalid_argument for a value of another type.
QByteArray writePropertyList(const QVariant& value);

} // namespace ternvault

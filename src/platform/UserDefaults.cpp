#include "platform/UserDefaults.h"

namespace ternvault {

namespace {

bool isNumber(const QVariant& value) {
    return value.typeId() == QMetaType::Double || value.typeId() == QMetaType::LongLong ||
           value.typeId() == QMetaType::ULongLong;
}

} // namespace

std::optional<QString> UserDefaults::string(const QString& key) const {
    const std::optional<QVariant> value = object(key);
    if (value && (value->typeId() == QMetaType::QString || isNumber(*value)))
        return value->toString();
    return std::nullopt;
}

std::optional<bool> UserDefaults::boolean(const QString& key) const {
    const std::optional<QVariant> value = object(key);
    if (!value)
        return std::nullopt;
    if (value->typeId() == QMetaType::Bool)
        return value->toBool();
    if (isNumber(*value) && (value->toDouble() == 0.0 || value->toDouble() == 1.0))
        return value->toDouble() == 1.0;
    return std::nullopt;
}

} // namespace ternvault

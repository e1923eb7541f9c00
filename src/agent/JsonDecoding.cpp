#include "agent/JsonDecoding.h"

#include <QJsonDocument>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

QString description(const QString& problem, const QString& path) {
    return path.isEmpty() ? problem : u'"' + path + u"\" "_s + problem;
}

QString typeName(const QJsonValue& value) {
    switch (value.type()) {
    case QJsonValue::Null:
        return u"null"_s;
    case QJsonValue::Bool:
        return u"a Boolean"_s;
    case QJsonValue::Double:
        return u"a number"_s;
    case QJsonValue::String:
        return u"a string"_s;
    case QJsonValue::Array:
        return u"a list"_s;
    case QJsonValue::Object:
        return u"an object"_s;
    case QJsonValue::Undefined:
        break;
    }
    return u"nothing"_s;
}

[[noreturn]] void mismatch(const char* expected, const QJsonValue& value, const QString& path) {
    throw DecodingError(u"should be "_s + QString::fromLatin1(expected) + u", but is "_s + typeName(value),
                        path);
}

} // namespace

DecodingError::DecodingError(const QString& problem, const QString& path)
    : std::runtime_error(description(problem, path).toStdString()), problem_(problem), path_(path) {}

DecodingError DecodingError::inElement(QLatin1String list, std::size_t index) const {
    const QString element = list + u'[' + QString::number(index) + u']';
    return DecodingError(problem_, path_.isEmpty() ? element : element + u'.' + path_);
}

ObjectDecoder ObjectDecoder::ofDocument(const QByteArray& json) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError) {
        throw DecodingError(u"the answer is not valid JSON (at byte "_s + QString::number(error.offset) +
                            u": "_s + error.errorString() + u')');
    }
    if (!document.isObject())
        throw DecodingError(u"the answer should be a JSON object"_s);
    return ObjectDecoder(document.object());
}

ObjectDecoder ObjectDecoder::ofElement(const QJsonValue& element) {
    if (!element.isObject())
        mismatch("an object", element, {});
    return ObjectDecoder(element.toObject());
}

QJsonValue ObjectDecoder::member(QLatin1String key) const {
    QJsonValue value = object_.value(key);
    if (value.isUndefined())
        throw DecodingError(u"is missing"_s, key);
    return value;
}

QString ObjectDecoder::stringOf(const QJsonValue& value, const QString& path) {
    if (!value.isString())
        mismatch("a string", value, path);
    return value.toString();
}

QString ObjectDecoder::string(QLatin1String key) const {
    return stringOf(member(key), key);
}

std::optional<QString> ObjectDecoder::optionalString(QLatin1String key) const {
    const QJsonValue value = object_.value(key);
    if (value.isUndefined() || value.isNull())
        return std::nullopt;
    return stringOf(value, key);
}

std::int64_t ObjectDecoder::integer(QLatin1String key) const {
    const QJsonValue value = member(key);
    if (!value.isDouble())
        mismatch("an integer", value, key);
    // A number that is not whole, or does not fit, gives the default.
    const qint64 number = value.toInteger(0);
    if (number != value.toInteger(1))
        throw DecodingError(u"is not an integer of 64 bits"_s, key);
    return number;
}

bool ObjectDecoder::boolean(QLatin1String key) const {
    const QJsonValue value = member(key);
    if (!value.isBool())
        mismatch("a Boolean", value, key);
    return value.toBool();
}

QJsonArray ObjectDecoder::array(QLatin1String key) const {
    const QJsonValue value = member(key);
    if (!value.isArray())
        mismatch("a list", value, key);
    return value.toArray();
}

std::vector<QString> ObjectDecoder::strings(QLatin1String key) const {
    std::vector<QString> result;
    const QJsonArray elements = array(key);
    for (const auto& element : elements) {
        try {
            result.push_back(stringOf(element, {}));
        } catch (const DecodingError& error) {
            throw error.inElement(key, result.size());
        }
    }
    return result;
}

} // namespace ternvault

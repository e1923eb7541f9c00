#include "agent/JsonDecoding.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

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

} // namespace

void ObjectDecoder::Place::mismatch(const char* expected) const {
    throw DecodingError(u"\""_s + path + u"\" should be "_s + QString::fromLatin1(expected) + u", but is "_s +
                        typeName(value));
}

QString ObjectDecoder::Place::string() const {
    if (!value.isString())
        mismatch("a string");
    return value.toString();
}

ObjectDecoder ObjectDecoder::Place::object() const {
    if (!value.isObject())
        mismatch("an object");
    return {value.toObject(), path};
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
    return {document.object(), {}};
}

ObjectDecoder::Place ObjectDecoder::member(QLatin1String key) const {
    const QString path = path_.isEmpty() ? QString(key) : path_ + u'.' + key;
    const QJsonValue value = object_.value(key);
    if (value.isUndefined())
        throw DecodingError(u"\""_s + path + u"\" is missing"_s);
    return {value, path};
}

QString ObjectDecoder::string(QLatin1String key) const {
    return member(key).string();
}

std::optional<QString> ObjectDecoder::optionalString(QLatin1String key) const {
    const QJsonValue value = object_.value(key);
    if (value.isUndefined() || value.isNull())
        return std::nullopt;
    return string(key);
}

std::int64_t ObjectDecoder::integer(QLatin1String key) const {
    const Place place = member(key);
    if (!place.value.isDouble())
        place.mismatch("an integer");
    // A number that is not whole, or does not fit, gives the default.
    const qint64 number = place.value.toInteger(0);
    if (number != place.value.toInteger(1))
        throw DecodingError(u"\""_s + place.path + u"\" is not an integer of 64 bits"_s);
    return number;
}

bool ObjectDecoder::boolean(QLatin1String key) const {
    const Place place = member(key);
    if (!place.value.isBool())
        place.mismatch("a Boolean");
    return place.value.toBool();
}

std::vector<ObjectDecoder::Place> ObjectDecoder::elements(QLatin1String key) const {
    const Place place = member(key);
    if (!place.value.isArray())
        place.mismatch("a list");
    std::vector<Place> result;
    for (const QJsonValue& element : place.value.toArray())
        result.push_back({element, place.path + u'[' + QString::number(result.size()) + u']'});
    return result;
}

std::vector<QString> ObjectDecoder::strings(QLatin1String key) const {
    std::vector<QString> result;
    for (const Place& element : elements(key))
        result.push_back(element.string());
    return result;
}

std::vector<ObjectDecoder> ObjectDecoder::objects(QLatin1String key) const {
    std::vector<ObjectDecoder> result;
    for (const Place& element : elements(key))
        result.push_back(element.object());
    return result;
}

} // namespace ternvault

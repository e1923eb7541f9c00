#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QLatin1String>
#include <QString>

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <vector>

namespace ternvault {

/// Why a document is not what it should be; the text names the key, with its way through the document, and
/// the type.
class DecodingError : public std::runtime_error {
public:
    explicit DecodingError(const QString& problem, const QString& path = {});
    /// The same, seen from the object that holds the list in which it happened.
    DecodingError inElement(QLatin1String list, std::size_t index) const;

private:
    QString problem_;
    QString path_;
};

/// A JSON object whose members are read by key and type, without defaults. Every read throws DecodingError
/// when the key is missing or its value is null or of another type.
class ObjectDecoder {
public:
    /// Throws DecodingError for what is no JSON object.
    static ObjectDecoder ofDocument(const QByteArray& json);

    QString string(QLatin1String key) const;
    /// Nothing when the key is missing or its value is null.
    std::optional<QString> optionalString(QLatin1String key) const;
    /// Any JSON number whose value is whole and fits, "1.0" and "1e3" too.
    std::int64_t integer(QLatin1String key) const;
    bool boolean(QLatin1String key) const;
    std::vector<QString> strings(QLatin1String key) const;
    /// Decodes each object of a list.
    template <typename Record>
    std::vector<Record> objects(QLatin1String key, Record (*decode)(const ObjectDecoder&)) const;

private:
    explicit ObjectDecoder(QJsonObject object) : object_(std::move(object)) {}
    static ObjectDecoder ofElement(const QJsonValue& element);
    static QString stringOf(const QJsonValue& value, const QString& path);
    QJsonValue member(QLatin1String key) const;
    QJsonArray array(QLatin1String key) const;

    QJsonObject object_;
};

template <typename Record>
std::vector<Record> ObjectDecoder::objects(QLatin1String key, Record (*decode)(const ObjectDecoder&)) const {
    std::vector<Record> records;
    const QJsonArray elements = array(key);
    for (const auto& element : elements) {
        try {
            records.push_back(decode(ofElement(element)));
        } catch (const DecodingError& error) {
            throw error.inElement(key, records.size());
        }
    }
    return records;
}

} // namespace ternvault

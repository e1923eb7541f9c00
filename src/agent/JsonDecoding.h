#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QLatin1String>
#include <QString>

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <vector>

namespace ternvault {

/// Why a document is not what it should be; the text names the key and the type.
class DecodingError : public std::runtime_error {
public:
    explicit DecodingError(const QString& description) : std::runtime_error(description.toStdString()) {}
};

/// A JSON object whose members are read by key and type, without defaults. Every read throws DecodingError
/// when the key is missing or its value is null or of another type.
class ObjectDecoder {
public:
    /// Reads a whole document.
    static ObjectDecoder ofDocument(const QByteArray& json);

    QString string(QLatin1String key) const;
    /// Nothing when the key is missing or its value is null.
    std::optional<QString> optionalString(QLatin1String key) const;
    /// Any JSON number whose value is whole and fits, "1.0" and "1e3" too.
    std::int64_t integer(QLatin1String key) const;
    bool boolean(QLatin1String key) const;
    std::vector<QString> strings(QLatin1String key) const;
    std::vector<ObjectDecoder> objects(QLatin1String key) const;

private:
    /// A value, and where in the document it stands.
    struct Place {
        QJsonValue value;
        QString path;

        [[noreturn]] void mismatch(const char* expected) const;
        QString string() const;
        ObjectDecoder object() const;
    };

    ObjectDecoder(QJsonObject object, QString path) : object_(std::move(object)), path_(std::move(path)) {}
    Place member(QLatin1String key) const;
    std::vector<Place> elements(QLatin1String key) const;

    QJsonObject object_;
    QString path_;
};

} // namespace ternvault

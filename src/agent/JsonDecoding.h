#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace ternvault {

/// Why a document is not what it should be; the text names the key, with its way through the document, and
/// the type.
class DecodingError : public std::runtime_error {
public:
    explicit DecodingError(const std::string& problem, const std::string& path = {});
    /// The same, seen from the object that holds the list in which it happened.
    DecodingError inElement(std::string_view list, std::size_t index) const;

private:
    std::string problem_;
    std::string path_;
};

/// A JSON object whose members are read by key and type, without defaults. Every read throws DecodingError
/// when the key is missing or its value is null or of another type.
class ObjectDecoder {
public:
    /// Throws DecodingError for what is no JSON object.
    static ObjectDecoder ofDocument(const QByteArray& json);

    QString string(std::string_view key) const;
    /// Nothing when the key is missing or its value is null.
    std::optional<QString> optionalString(std::string_view key) const;
    /// Any JSON number whose value is whole and fits, "1.0" and "1e3" too; its digits decide.
    std::int64_t integer(std::string_view key) const;
    bool boolean(std::string_view key) const;
    std::vector<QString> strings(std::string_view key) const;
    /// Decodes each object of a list.
    template <typename Record>
    std::vector<Record> objects(std::string_view key, Record (*decode)(const ObjectDecoder&)) const;

private:
    /// A value of the document, which lives as long as any of them.
    using Value = std::shared_ptr<const nlohmann::json>;

    explicit ObjectDecoder(Value object) : object_(std::move(object)) {}
    static ObjectDecoder ofElement(const Value& element);
    static QString stringOf(const nlohmann::json& value, std::string_view path);
    /// Null when the key is missing.
    const nlohmann::json* find(std::string_view key) const;
    const nlohmann::json& member(std::string_view key) const;
    std::vector<Value> array(std::string_view key) const;

    Value object_;
};

template <typename Record>
std::vector<Record> ObjectDecoder::objects(std::string_view key,
                                           Record (*decode)(const ObjectDecoder&)) const {
    std::vector<Record> records;
    for (const Value& element : array(key)) {
        try {
            records.push_back(decode(ofElement(element)));
        } catch (const DecodingError& error) {
            throw error.inElement(key, records.size());
        }
    }
    return records;
}

} // namespace ternvault

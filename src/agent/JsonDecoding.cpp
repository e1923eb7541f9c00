#include "agent/JsonDecoding.h"

#include "agent/JsonDocument.h"

#include <nlohmann/json.hpp>

namespace ternvault {

namespace {

using Json = nlohmann::json;

std::string description(const std::string& problem, const std::string& path) {
    return path.empty() ? problem : '"' + path + "\" " + problem;
}

std::string typeName(const Json& value) {
    if (value.is_null())
        return "null";
    if (value.is_boolean())
        return "a Boolean";
    if (value.is_number())
        return "a number";
    if (value.is_string())
        return "a string";
    return value.is_array() ? "a list" : "an object";
}

[[noreturn]] void mismatch(const std::string& expected, const Json& value, std::string_view path) {
    throw DecodingError("should be " + expected + ", but is " + typeName(value), std::string(path));
}

} // namespace

DecodingError::DecodingError(const std::string& problem, const std::string& path)
    : std::runtime_error(description(problem, path)), problem_(problem), path_(path) {}

DecodingError DecodingError::inElement(std::string_view list, std::size_t index) const {
    const std::string element = std::string(list) + '[' + std::to_string(index) + ']';
    return DecodingError(problem_, path_.empty() ? element : element + '.' + path_);
}

ObjectDecoder ObjectDecoder::ofDocument(const QByteArray& json) {
    Value document = parseJson(json);
    if (!document->is_object())
        throw DecodingError("the answer should be a JSON object");
    return ObjectDecoder(std::move(document));
}

ObjectDecoder ObjectDecoder::ofElement(const Value& element) {
    if (!element->is_object())
        mismatch("an object", *element, {});
    return ObjectDecoder(element);
}

const Json* ObjectDecoder::find(std::string_view key) const {
    const auto found = object_->find(key);
    return found == object_->end() ? nullptr : &*found;
}

const Json& ObjectDecoder::member(std::string_view key) const {
    const Json* const value = find(key);
    if (value == nullptr)
        throw DecodingError("is missing", std::string(key));
    return *value;
}

QString ObjectDecoder::stringOf(const Json& value, std::string_view path) {
    if (!value.is_string())
        mismatch("a string", value, path);
    return QString::fromStdString(value.get_ref<const std::string&>());
}

QString ObjectDecoder::string(std::string_view key) const {
    return stringOf(member(key), key);
}

std::optional<QString> ObjectDecoder::optionalString(std::string_view key) const {
    const Json* const value = find(key);
    if (value == nullptr || value->is_null())
        return std::nullopt;
    return stringOf(*value, key);
}

std::int64_t ObjectDecoder::integer(std::string_view key) const {
    const Json& value = member(key);
    if (!value.is_number())
        mismatch("an integer", value, key);
    if (!value.is_number_integer())
        throw DecodingError("is not an integer of 64 bits", std::string(key));
    return value.get<std::int64_t>();
}

bool ObjectDecoder::boolean(std::string_view key) const {
    const Json& value = member(key);
    if (!value.is_boolean())
        mismatch("a Boolean", value, key);
    return value.get<bool>();
}

std::vector<ObjectDecoder::Value> ObjectDecoder::array(std::string_view key) const {
    const Json& value = member(key);
    if (!value.is_array())
        mismatch("a list", value, key);
    std::vector<Value> elements;
    for (const Json& element : value)
        elements.emplace_back(object_, &element);
    return elements;
}

std::vector<QString> ObjectDecoder::strings(std::string_view key) const {
    std::vector<QString> result;
    for (const Value& element : array(key)) {
        try {
            result.push_back(stringOf(*element, {}));
        } catch (const DecodingError& error) {
            throw error.inElement(key, result.size());
        }
    }
    return result;
}

} // namespace ternvault

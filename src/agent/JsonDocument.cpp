#include "agent/JsonDocument.h"

#include "agent/JsonDecoding.h"
#include "agent/WholeNumber.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

namespace ternvault {

namespace {

using Json = nlohmann::json;

constexpr std::size_t deepest = 1000;
/// The library's number for what a double cannot hold, valid as it is.
constexpr int numberOutOfRange = 406;

// NOLINTNEXTLINE(bugprone-exception-escape): the library's assertions, when a document is made from nothing
class DocumentBuilder final : public nlohmann::json_sax<Json> {
public:
    Json takeDocument() { return std::move(document_); }
    const std::string& problem() const { return problem_; }

    bool null() override { return add(nullptr); }
    bool boolean(bool value) override { return add(value); }
    bool number_integer(std::int64_t value) override { return add(value); }
    bool number_unsigned(std::uint64_t value) override {
        return std::in_range<std::int64_t>(value) ? add(static_cast<std::int64_t>(value))
                                                  : add(static_cast<double>(value));
    }
    bool number_float(double value, const std::string& number) override {
        const std::optional<std::int64_t> whole = wholeNumber(number);
        return whole ? add(*whole) : add(value);
    }
    bool string(std::string& value) override { return add(std::move(value)); }
    bool binary(Json::binary_t&) override { return false; }
    bool start_object(std::size_t) override { return open(Json::object()); }
    bool end_object() override { return close(); }
    bool start_array(std::size_t) override { return open(Json::array()); }
    bool end_array() override { return close(); }
    bool key(std::string& name) override {
        key_ = std::move(name);
        return true;
    }
    /// The parser's own words quote the document, which may be endless.
    bool parse_error(std::size_t position, const std::string&, const Json::exception& error) override {
        const std::string place = "at byte " + std::to_string(position);
        problem_ = error.id == numberOutOfRange ? "has a number out of range " + place
                                                : "is not valid JSON (" + place + ')';
        return false;
    }

private:
    Json& place(Json value) {
        if (open_.empty())
            return document_ = std::move(value);
        Json& container = *open_.back();
        if (container.is_object())
            return container[key_] = std::move(value);
        container.push_back(std::move(value));
        return container.back();
    }
    bool add(Json value) {
        place(std::move(value));
        return true;
    }
    bool open(Json container) {
        if (open_.size() == deepest) {
            problem_ = "is not valid JSON (nested more than " + std::to_string(deepest) + " levels deep)";
            return false;
        }
        open_.push_back(&place(std::move(container)));
        return true;
    }
    bool close() {
        open_.pop_back();
        return true;
    }

    Json document_;
    /// Each is the last element of the one before.
    std::vector<Json*> open_;
    std::string key_;
    std::string problem_;
};

} // namespace

std::shared_ptr<const Json> parseJson(const QByteArray& text) {
    DocumentBuilder builder;
    if (!Json::sax_parse(text.begin(), text.end(), &builder))
        throw DecodingError("the answer " + builder.problem());
    return std::make_shared<const Json>(builder.takeDocument());
}

} // namespace ternvault

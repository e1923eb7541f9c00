#include "server/Requests.h"

#include "server/Token.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <utility>

#include <strings.h>

namespace ternvault::server {

namespace {

using Json = nlohmann::json;

struct Route {
    std::string_view target;
    std::string_view method;
    Operation operation;
};
constexpr std::array routes{Route{"/api/disks", "GET", Operation::listDisks},
                            Route{"/api/create_user", "POST", Operation::createUser}};

const Route* routeTo(std::string_view target) {
    for (const Route& route : routes)
        if (route.target == target)
            return &route;
    return nullptr;
}

std::string_view withoutBlanks(std::string_view text) {
    constexpr auto blanks = " \t";
    const auto first = std::min(text.find_first_not_of(blanks), text.size());
    return text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

/// The credentials of the scheme "Bearer", empty for any other.
std::string_view bearerToken(std::string_view authorization) {
    constexpr std::string_view scheme = "Bearer ";
    if (authorization.size() < scheme.size() ||
        ::strncasecmp(authorization.data(), scheme.data(), scheme.size()) != 0)
        return {};
    return withoutBlanks(authorization.substr(scheme.size()));
}

bool knows(const RequestHead& head, std::string_view token) {
    if (head.authorization)
        return isSameSecret(bearerToken(*head.authorization), token);
    return isSameSecret(withoutBlanks(head.tokenHeader.value_or("")), token);
}

/// Takes the two texts as they are parsed and stops at anything that has no place there, so that neither
/// depth nor number of foreign values costs anything.
class AccountReader : public nlohmann::json_sax<Json> {
public:
    NewAccount account() {
        if (!name_ || !password_)
            throw Refusal(400, "bad_request", R"("username" and "password" are needed)");
        return {std::move(*name_), std::move(*password_)};
    }

    bool start_object(std::size_t) override { return !std::exchange(inObject_, true); }
    bool key(string_t& key) override {
        member_ = key == "username" ? &name_ : key == "password" ? &password_ : nullptr;
        return member_ != nullptr && !*member_;
    }
    bool string(string_t& text) override {
        if (member_ == nullptr)
            return false;
        *std::exchange(member_, nullptr) = text;
        return true;
    }
    bool end_object() override { return true; }

    bool null() override { return false; }
    bool boolean(bool) override { return false; }
    bool number_integer(number_integer_t) override { return false; }
    bool number_unsigned(number_unsigned_t) override { return false; }
    bool number_float(number_float_t, const string_t&) override { return false; }
    bool binary(binary_t&) override { return false; }
    bool start_array(std::size_t) override { return false; }
    bool end_array() override { return false; }
    bool parse_error(std::size_t, const std::string&, const Json::exception&) override { return false; }

private:
    bool inObject_ = false;
    std::optional<std::string> name_;
    std::optional<std::string> password_;
    /// Where the next text goes.
    std::optional<std::string>* member_ = nullptr;
};

} // namespace

std::optional<std::string_view> allowedMethod(std::string_view target) {
    const Route* route = routeTo(target);
    return route == nullptr ? std::nullopt : std::optional(route->method);
}

Operation admit(const RequestHead& head, std::string_view token) {
    const Route* route = routeTo(head.target);
    if (route == nullptr)
        throw Refusal(404, "not_found", "There is nothing at this address");
    if (head.method != route->method)
        throw Refusal(405, "method_not_allowed",
                      "This address takes " + std::string(route->method) + " only");
    if (!knows(head, token))
        throw Refusal(401, "unauthorized", "The agent token is missing or wrong");
    return route->operation;
}

NewAccount readNewAccount(std::string_view body) {
    AccountReader reader;
    if (!Json::sax_parse(body, &reader))
        throw Refusal(400, "bad_request",
                      R"(The body must be a JSON object with the texts "username" and "password" only)");
    return reader.account();
}

std::string refusalBody(const Refusal& refusal) {
    return Json{{"error", refusal.code()}, {"message", refusal.what()}}.dump();
}

} // namespace ternvault::server

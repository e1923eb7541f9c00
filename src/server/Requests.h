#pragma once

#include "server/Refusal.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace ternvault::server {

/// More than this is not read of a request's body.
constexpr std::size_t largestBody = 64 << 10;

enum class Operation { listDisks, createUser };

/// What stands before the body of a request.
struct RequestHead {
    std::string_view method;
    /// The path as it was sent, without the query.
    std::string_view target;
    /// The header "Authorization".
    std::optional<std::string_view> authorization;
    /// The header "X-TernVault-Token".
    std::optional<std::string_view> tokenHeader;
};

struct NewAccount {
    std::string name;
    std::string password;
};

/// The method that the target allows, for the answer to any other; nothing when there is no such target.
std::optional<std::string_view> allowedMethod(std::string_view target);

/// What the request asks for. Throws Refusal: 404, 405, or 401 when it does not know `token`. Clients send
/// the token in both headers; the second counts only where the first is missing, because some proxies take
/// the first away.
Operation admit(const RequestHead& head, std::string_view token);

/// The body of Operation::createUser: an object with the two texts "username" and "password", each once, and
/// nothing else. Throws Refusal, 400.
NewAccount readNewAccount(std::string_view body);

/// What a refused request is told, as JSON.
std::string refusalBody(const Refusal& refusal);

} // namespace ternvault::server

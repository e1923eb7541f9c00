// Input: four lines (method, target, "Authorization", "X-TernVault-Token"), then the body. A header whose
// line is "-" is missing.

#include "server/Requests.h"

#include "Fuzzing.h"

#include <algorithm>

using namespace ternvault::server;

namespace {

constexpr std::string_view token = "0123456789abcdef";

std::string_view takeLine(std::string_view& input) {
    const auto line = input.substr(0, input.find('\n'));
    input.remove_prefix(std::min(line.size() + 1, input.size()));
    return line;
}

/// Every refusal has a status, a code and a text, and its body can be read again.
void check(const Refusal& refusal) {
    require(refusal.status() >= 400 && refusal.status() < 600 && !refusal.code().empty());
    require(refusalBody(refusal).starts_with(R"({"error":")"));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view input(reinterpret_cast<const char*>(data), size);
    RequestHead head;
    head.method = takeLine(input);
    head.target = takeLine(input);
    for (auto* header : {&head.authorization, &head.tokenHeader})
        if (const auto line = takeLine(input); line != "-")
            *header = line;
    try {
        const Operation operation = admit(head, token);
        require(allowedMethod(head.target) == head.method);
        require(head.authorization.value_or(head.tokenHeader.value_or("")).find(token) != head.method.npos);
        require(operation == Operation::createUser || head.method == "GET");
    } catch (const Refusal& refusal) {
        check(refusal);
    }
    try {
        const NewAccount account = readNewAccount(input);
        require(account.name.size() + account.password.size() < input.size());
    } catch (const Refusal& refusal) {
        check(refusal);
    }
    return 0;
}

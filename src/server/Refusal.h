#pragma once

#include <stdexcept>
#include <string>

namespace ternvault::server {

/// Why a request is not fulfilled, as its answer tells: the HTTP status, a code for programs ("error") and a
/// text for people ("message").
class Refusal : public std::runtime_error {
public:
    Refusal(unsigned status, std::string code, const std::string& message)
        : std::runtime_error(message), status_(status), code_(std::move(code)) {}

    unsigned status() const { return status_; }
    const std::string& code() const { return code_; }

private:
    unsigned status_;
    std::string code_;
};

} // namespace ternvault::server

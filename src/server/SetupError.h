#pragma once

#include <stdexcept>

namespace ternvault::server {

/// Why the PC cannot be set up as wished, in words for whoever asked for it.
class SetupError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace ternvault::server

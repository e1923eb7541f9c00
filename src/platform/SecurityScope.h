#pragma once

#include <filesystem>

namespace ternvault {

/// Access to a file outside the application's sandbox, where the platform has one.
class SecurityScope {
public:
    virtual ~SecurityScope() = default;

    /// Whether access was granted and must be given back with `end`.
    virtual bool begin(const std::filesystem::path& file) = 0;
    virtual void end(const std::filesystem::path& file) = 0;
};

} // namespace ternvault

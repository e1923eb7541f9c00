#pragma once

#include <filesystem>
#include <optional>

#include <sys/types.h>

namespace ternvault {

/// Where things are. Any thread.
class FileLocations {
public:
    virtual ~FileLocations() = default;

    /// The user's home folder; nothing when the system knows none.
    virtual std::optional<std::filesystem::path> home() const = 0;
    /// The folder for the application's own data of this user; nothing when the system knows none.
    virtual std::optional<std::filesystem::path> applicationSupport() const = 0;
    /// Absolute folder under which volumes are mounted; no trailing slash.
    virtual std::filesystem::path volumesRoot() const = 0;
    /// The desktop application, as the login entry starts it.
    virtual std::filesystem::path applicationBundle() const = 0;
    virtual uid_t userId() const = 0;
};

} // namespace ternvault

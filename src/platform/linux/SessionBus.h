#pragma once

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace ternvault {

/// Whether this process belongs to a session with a message bus. It says nothing about who listens there.
inline bool sessionHasBus() {
    const char* const address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    if (address != nullptr && *address != '\0')
        return true;
    const char* const runtime = std::getenv("XDG_RUNTIME_DIR");
    std::error_code ignored;
    return runtime != nullptr && std::filesystem::exists(std::filesystem::path(runtime) / "bus", ignored);
}

} // namespace ternvault

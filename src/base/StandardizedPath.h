#pragma once

#include <filesystem>
#include <system_error>

namespace ternvault {

/// Absolute, dot segments resolved, no slash at the end; symbolic links stay. Empty for an empty path.
inline std::filesystem::path standardized(const std::filesystem::path& path) {
    std::error_code noCurrentFolder;
    std::filesystem::path result = std::filesystem::absolute(path, noCurrentFolder).lexically_normal();
    if (!result.has_filename() && result.has_relative_path())
        result = result.parent_path();
    return result;
}

} // namespace ternvault

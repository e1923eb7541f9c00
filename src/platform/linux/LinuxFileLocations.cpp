#include "platform/linux/LinuxFileLocations.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <system_error>

namespace ternvault {

namespace fs = std::filesystem;

namespace {

/// The base directory rules ignore relative paths.
std::optional<fs::path> absoluteFromEnvironment(const char* variable) {
    const char* const value = std::getenv(variable);
    if (value == nullptr || *value != '/')
        return std::nullopt;
    return fs::path(value);
}

std::optional<fs::path> homeFromUserDatabase() {
    std::array<char, 16384> buffer{};
    passwd entry{};
    passwd* found = nullptr;
    ::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found);
    if (found == nullptr || found->pw_dir == nullptr || *found->pw_dir != '/')
        return std::nullopt;
    return fs::path(found->pw_dir);
}

std::optional<fs::path> baseDirectory(const char* variable, const std::optional<fs::path>& home,
                                      const char* belowHome) {
    if (auto directory = absoluteFromEnvironment(variable))
        return directory;
    if (home)
        return *home / belowHome;
    return std::nullopt;
}

fs::path withoutTrailingSlash(const fs::path& path) {
    return path.has_filename() ? path : path.parent_path();
}

} // namespace

LinuxFileLocations::LinuxFileLocations(const fs::path& volumesRoot)
    : volumesRoot_(withoutTrailingSlash(volumesRoot.lexically_normal())) {
    std::error_code ignored;
    applicationBundle_ = fs::read_symlink("/proc/self/exe", ignored).replace_filename("ternvault");
    home_ = absoluteFromEnvironment("HOME");
    if (!home_)
        home_ = homeFromUserDatabase();
    data_ = baseDirectory("XDG_DATA_HOME", home_, ".local/share");
    configuration_ = baseDirectory("XDG_CONFIG_HOME", home_, ".config");
    state_ = baseDirectory("XDG_STATE_HOME", home_, ".local/state");
}

uid_t LinuxFileLocations::userId() const {
    return ::getuid();
}

} // namespace ternvault

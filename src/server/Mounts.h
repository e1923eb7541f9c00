#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ternvault::server {

/// A mounted file system.
struct Mount {
    /// Major and minor number of the device, as in "8:1".
    std::string number;
    std::string point;
    bool readOnly = false;
    /// What is mounted, a device's path in most cases.
    std::string source;

    bool operator==(const Mount&) const = default;
};

/// Whether `path` is `folder` or something in it; both are absolute and have no slash at their end.
bool isWithin(std::string_view path, std::string_view folder);

/// The mounts in the kernel's list of a process, /proc/*/mountinfo.
std::vector<Mount> parseMounts(std::string_view mountinfo);

/// Where `path`, absolute and without symbolic links, really lies: the longest mount point wins, of those at
/// one place the last. Nothing when there is none.
const Mount* mountOf(std::string_view path, const std::vector<Mount>& mounts);

} // namespace ternvault::server

#pragma once

#include <filesystem>
#include <vector>

namespace ternvault {

/// Roots of what is mounted where desktops and people mount disks, sticks and servers, sorted. Asks the
/// kernel's table only, never what is mounted, so it does not wait for a server that is gone.
std::vector<std::filesystem::path> mountedMedia();

} // namespace ternvault

#pragma once

#include "server/Configuration.h"
#include "server/Programs.h"

#include <filesystem>

namespace ternvault::server {

/// Throws SetupError unless this process may prepare the PC, and has what it needs for that.
void checkPc();

/// The folder by its real path, when it can be served: a folder on a disk of its own or, where `systemDisk`
/// says so, on the system's, that accounts can reach, and that is no part of the system. Throws SetupError.
std::filesystem::path checkedFolder(Programs& programs, const Configuration& configuration,
                                    const std::filesystem::path& folder, bool systemDisk);

} // namespace ternvault::server

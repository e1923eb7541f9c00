#pragma once

#include <filesystem>

#include <sys/types.h>

namespace ternvault::finder {

/// Whether a process of this user has the kernel tell it of changes in the folder (inotify), as file managers
/// do with each that they show. May wait for the program behind a volume.
bool isWatched(const std::filesystem::path& folder, pid_t process);

} // namespace ternvault::finder

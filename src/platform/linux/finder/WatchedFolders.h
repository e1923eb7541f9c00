#pragma once

#include <filesystem>

#include <sys/types.h>

namespace ternvault::finder {

/// Never waits for the server behind a volume.
bool isFolder(const std::filesystem::path& path);

/// Whether a process of this user has the kernel tell it of changes in the folder (inotify), as file managers
/// do with each that they show. Never waits for the server behind a volume.
bool isWatched(const std::filesystem::path& folder, pid_t process);

} // namespace ternvault::finder

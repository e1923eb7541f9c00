#pragma once

#include "volume/KeeperLink.h"
#include "volume/MountUrl.h"

#include <filesystem>

namespace ternvault::volume {

/// What to mount where. Paths are canonical.
struct MountOrder {
    MountUrl url;
    std::filesystem::path mountPoint;
    /// Folder of the mount records and locks.
    std::filesystem::path state;
};

/// Connects, mounts and serves until the volume is unmounted or the server is gone for good. Tells the keeper
/// how it went. Call it in a process of its own, before any thread.
void runDaemon(const MountOrder& order, DaemonEnd link);

} // namespace ternvault::volume

#pragma once

#include "platform/linux/programs/MountPoints.h"
#include "volume/Daemon.h"

namespace ternvault::volume {

/// The process that outlives the daemon. It starts the daemon, passes its outcome on through `report` (one
/// line: empty for success, else the reason), gives up `lock` then, and when the daemon has ended, or does
/// not answer any more, takes the mount and its directory away. It does so at once when the reader of
/// `report` goes before the outcome. Returns when nothing is left.
void runKeeper(const MountOrder& order, int report, MountLock lock);

} // namespace ternvault::volume

#pragma once

#include "volume/Volume.h"

#include <functional>

namespace ternvault::volume {

/// What the low-level interface of libfuse is given as its user data.
struct FuseContext {
    Volume& volume;
    /// The kernel has accepted the mount and asks from now on.
    std::function<void()> mounted;
};

/// Translates libfuse's calls to methods of Volume.
const fuse_lowlevel_ops& fuseOperations();

} // namespace ternvault::volume

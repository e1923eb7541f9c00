#pragma once

#include "base/Lifetime.h"
#include "intake/PasteTarget.h"

namespace ternvault {

/// What the hooks of the whole process share, because the platform calls them without any context of ours.
struct PasteTapBridge {
    /// Once it is gone the hooks do nothing. Main thread.
    static inline WeakRef<PasteTarget> model;
};

} // namespace ternvault

#pragma once

#include "base/Task.h"

namespace ternvault {

/// Where pastes go. Main thread.
class PasteTarget {
public:
    /// Queues the files on the pasteboard, or says that there are none.
    virtual Task<> pasteFromClipboard() = 0;

protected:
    ~PasteTarget() = default;
};

} // namespace ternvault

#pragma once

#include "base/Task.h"

#include <filesystem>

namespace ternvault {

/// Where pastes go. Main thread.
class PasteTarget {
public:
    /// Queues the files on the pasteboard, or says that there are none.
    Task<> pasteFromClipboard() { return pasteFromClipboardInto({}); }
    /// The same for a paste that was made where `folder` is shown, an absolute path; empty: nowhere.
    virtual Task<> pasteFromClipboardInto(std::filesystem::path folder) = 0;

protected:
    ~PasteTarget() = default;
};

} // namespace ternvault

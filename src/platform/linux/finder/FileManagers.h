#pragma once

#include "platform/linux/finder/FrontWindow.h"
#include "platform/linux/finder/ShownFolder.h"

#include <string_view>

namespace ternvault::finder {

/// A file manager whose windows can be told.
struct FileManager {
    /// Of its windows.
    std::string_view className;
    /// The least that says that keys go to the files.
    Focus focusOnFiles;
};

/// The one that the window belongs to; null for any other program, and for a dialog.
const FileManager* fileManagerOf(const WindowInfo& window);

} // namespace ternvault::finder

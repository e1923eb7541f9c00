#pragma once

#include "platform/linux/finder/FrontWindow.h"

#include <QThread>

#include <filesystem>
#include <optional>
#include <vector>

namespace ternvault::finder {

/// Keeps in mind what the file manager in front shows, on a thread of its own. It has to be known ahead of a
/// key press: one that is held back takes the focus from its window, and with it all signs of what had it.
class FrontFolderWatch final {
public:
    /// A window in which keys go to the files of a folder.
    struct Sight {
        WindowInfo window;
        /// The folder is one of these.
        std::vector<std::filesystem::path> folders;
    };

    FrontFolderWatch();
    /// Waits, for half a second at most.
    ~FrontFolderWatch();
    FrontFolderWatch(const FrontFolderWatch&) = delete;
    FrontFolderWatch& operator=(const FrontFolderWatch&) = delete;

    /// From now on it looks. May be called again. Main thread.
    void start();

    /// Nothing where no file manager is in front, a field in it has the focus, or any of that cannot be told.
    /// Any thread.
    std::optional<Sight> sight() const;

private:
    class Eyes;

    QThread thread_;
    /// Lives and ends on the thread.
    Eyes* eyes_;
};

} // namespace ternvault::finder

#pragma once

#include "platform/linux/finder/FrontWindow.h"

#include <QThread>

#include <chrono>
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
    ~FrontFolderWatch();
    FrontFolderWatch(const FrontFolderWatch&) = delete;
    FrontFolderWatch& operator=(const FrontFolderWatch&) = delete;

    // Any thread. It looks from `start` on, until `rest`.
    void start();
    void rest();

    /// Nothing where no file manager is in front, a field in it has the focus, or any of that cannot be told.
    /// Any thread.
    std::optional<Sight> sight() const;
    // From `hold` on to `release`, `sight` answers what was to be seen at `hold`. Any thread, one at a time.
    void hold();
    void release();

    /// For good, before the end of the process: false when a program that owes answers still holds it up
    /// after `grace`. Main thread.
    bool finish(std::chrono::milliseconds grace);

private:
    class Eyes;

    QThread thread_;
    /// Lives and ends on the thread.
    Eyes* eyes_;
    bool hasFinished_ = false;
};

} // namespace ternvault::finder

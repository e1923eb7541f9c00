#pragma once

#include "platform/ProcessLauncher.h"

#include <atomic>

namespace ternvault {

/// The setting of the running desktop that decides whether network volumes have icons. Both calls go through
/// the desktop's own programs and end within two seconds, whatever these do. Any thread.
class DesktopPreference {
public:
    /// Stands in for the program that writes preferences, for one of them:
    /// `write com.apple.finder ShowMountedServersOnDesktop -bool true|false`. The setting is written only
    /// when it differs. Status 0, also where no desktop runs that has such a setting; else another one and
    /// the reason on standard error.
    ProcessResult write(const QStringList& arguments);

    /// Has the desktop read its settings again if one was written since the last time. Xfce's only: the
    /// others follow their settings by themselves and have no such command.
    ProcessResult redraw();

private:
    std::atomic<bool> isWritten_ = false;
    /// The desktop's programs missed the deadline once: nobody waits for them again in this process.
    std::atomic<bool> isSilent_ = false;
};

} // namespace ternvault

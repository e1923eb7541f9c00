#pragma once

namespace ternvault {

/// The volume's icon on the desktop.
class DesktopIcon {
public:
    virtual ~DesktopIcon() = default;

    /// Shows or hides it; `restartFinder` also restarts the file manager so that it reads its settings anew.
    /// Main thread; failures are ignored.
    virtual void apply(bool show, bool restartFinder) = 0;
};

} // namespace ternvault

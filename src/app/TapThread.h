#pragma once

#include "intake/PasteHook.h"

#include <chrono>
#include <future>

namespace ternvault {

/// The thread that decides whose the session's pastes are. A file system that hangs can hold it up, so that
/// nobody waits for it for long. Main thread.
class TapThread {
public:
    TapThread(PasteHook& hook, EventTap& tap) : hook_(hook), tap_(tap) {}

    /// Starts the thread, unless it runs already. One that gave up is started anew.
    void start();

    /// Ends the tap; false when the thread still ran after `grace`, and so uses what it was given.
    bool finish(std::chrono::milliseconds grace);

private:
    PasteHook& hook_;
    EventTap& tap_;
    std::future<void> ended_;
};

} // namespace ternvault

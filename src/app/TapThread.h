#pragma once

#include "intake/PasteHook.h"

#include <chrono>
#include <future>

namespace ternvault {

/// The thread that holds the session's pastes back until it knows whose they are. Nobody waits for it,
/// because a file system that hangs can hold it up. Main thread.
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

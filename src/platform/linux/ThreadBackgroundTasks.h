#pragma once

#include "platform/BackgroundTasks.h"
#include "platform/linux/WorkerThreads.h"

#include <chrono>

namespace ternvault {

/// Background work on threads of this process. The programs that a thread starts inherit its priorities.
///
/// The destructor drops work that has not begun and waits for the rest, because that may use objects of the
/// caller. Work can hang with the program that it waits for, so an ending process asks `finishWithin` first
/// and, when the answer is false, leaves through std::_Exit instead of destroying anything.
class ThreadBackgroundTasks final : public BackgroundTasks {
public:
    ThreadBackgroundTasks();

    void run(Lane lane, std::function<void()> work) override;

    /// Drops work that has not begun, takes none any more, and waits for the rest; false when some was still
    /// running after `grace`.
    bool finishWithin(std::chrono::milliseconds grace);

private:
    WorkerThreads general_;
    WorkerThreads utility_;
};

} // namespace ternvault

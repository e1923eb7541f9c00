#include "platform/linux/ThreadBackgroundTasks.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <utility>

namespace ternvault {

namespace {

/// More than the programs that can be under way at once, so that one which hangs holds up no other.
constexpr std::size_t generalThreads = 8;
/// Added to the niceness that the process was started with.
constexpr int utilityNice = 10;

// Of linux/ioprio.h, which newer kernel headers made unreadable for C++.
constexpr int ioprioWhoProcess = 1;
constexpr int ioprioBestEffort = 2 << 13;
constexpr int lowestBestEffort = 7;

/// Best effort: running at normal priority is no failure. On Linux both calls change the one thread only.
/// The idle disk class would let a busy disk starve a copy for good.
void lowerPriority() {
    const auto thread = static_cast<id_t>(::gettid());
    ::setpriority(PRIO_PROCESS, thread, ::getpriority(PRIO_PROCESS, 0) + utilityNice);
    ::syscall(SYS_ioprio_set, ioprioWhoProcess, thread, ioprioBestEffort | lowestBestEffort);
}

} // namespace

ThreadBackgroundTasks::ThreadBackgroundTasks()
    : general_(generalThreads, [] {}), utility_(1, lowerPriority) {}

void ThreadBackgroundTasks::run(Lane lane, std::function<void()> work) {
    (lane == Lane::utility ? utility_ : general_).run(std::move(work));
}

bool ThreadBackgroundTasks::finishWithin(std::chrono::milliseconds grace) {
    const auto deadline = std::chrono::steady_clock::now() + grace;
    const bool generalFinished = general_.finishBy(deadline);
    return utility_.finishBy(deadline) && generalFinished;
}

} // namespace ternvault

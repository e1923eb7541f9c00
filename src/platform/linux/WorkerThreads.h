#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <queue>
#include <thread>
#include <vector>

namespace ternvault {

/// A queue of work and the threads that take it in order. Threads start when work finds none idle, up to a
/// limit. Any thread.
class WorkerThreads {
public:
    /// `onThreadStart` runs first on every thread.
    WorkerThreads(std::size_t limit, std::function<void()> onThreadStart);
    /// Drops work that has not begun and waits for the rest.
    ~WorkerThreads();

    void run(std::function<void()> work);
    /// Drops work that has not begun, takes none any more, and waits for the rest until `deadline`; false
    /// when some was still running then.
    bool finishBy(std::chrono::steady_clock::time_point deadline);

private:
    void work();

    const std::size_t limit_;
    const std::function<void()> onThreadStart_;
    std::mutex mutex_;
    std::condition_variable workArrived_;
    std::condition_variable threadBecameIdle_;
    std::queue<std::function<void()>> waiting_;
    std::vector<std::thread> threads_;
    std::size_t idle_ = 0;
    bool finishing_ = false;
};

} // namespace ternvault

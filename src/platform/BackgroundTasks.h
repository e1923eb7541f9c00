#pragma once

#include <functional>

namespace ternvault {

/// Where background work runs.
enum class Lane {
    /// Several at a time, normal priority: external programs that a caller waits for.
    general,
    /// One at a time, in order, low CPU and disk priority: copy attempts. One thread, so that two attempts
    /// never write the same destination at the same time.
    utility,
};

/// Runs work off the main thread.
class BackgroundTasks {
public:
    virtual ~BackgroundTasks() = default;

    /// Never blocks. `work` must not throw. Any thread.
    virtual void run(Lane lane, std::function<void()> work) = 0;
};

} // namespace ternvault

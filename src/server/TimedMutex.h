#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace ternvault::server {

/// For std::unique_lock with a time limit. std::timed_mutex would do, but g++ 12's ThreadSanitizer does not
/// see it being locked.
class TimedMutex {
public:
    bool try_lock_for(std::chrono::milliseconds limit) {
        std::unique_lock lock(mutex_);
        if (!freed_.wait_for(lock, limit, [this] { return !isLocked_; }))
            return false;
        return isLocked_ = true;
    }
    void unlock() {
        const std::lock_guard lock(mutex_);
        isLocked_ = false;
        freed_.notify_one();
    }

private:
    std::mutex mutex_;
    std::condition_variable freed_;
    bool isLocked_ = false;
};

} // namespace ternvault::server

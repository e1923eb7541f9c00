#include "platform/linux/WorkerThreads.h"

#include <utility>

namespace ternvault {

WorkerThreads::WorkerThreads(std::size_t limit, std::function<void()> onThreadStart)
    : limit_(limit), onThreadStart_(std::move(onThreadStart)) {}

WorkerThreads::~WorkerThreads() {
    finishBy(std::chrono::steady_clock::now());
    for (std::thread& thread : threads_)
        thread.join();
}

void WorkerThreads::run(std::function<void()> work) {
    const std::lock_guard lock(mutex_);
    if (finishing_)
        return;
    waiting_.push(std::move(work));
    if (waiting_.size() > idle_ && threads_.size() < limit_) {
        ++idle_;
        threads_.emplace_back([this] {
            onThreadStart_();
            this->work();
        });
    }
    workArrived_.notify_one();
}

bool WorkerThreads::finishBy(std::chrono::steady_clock::time_point deadline) {
    std::queue<std::function<void()>> dropped;
    std::unique_lock lock(mutex_);
    finishing_ = true;
    dropped.swap(waiting_);
    workArrived_.notify_all();
    return threadBecameIdle_.wait_until(lock, deadline, [this] { return idle_ == threads_.size(); });
}

void WorkerThreads::work() {
    std::unique_lock lock(mutex_);
    while (true) {
        workArrived_.wait(lock, [this] { return finishing_ || !waiting_.empty(); });
        if (waiting_.empty())
            return;
        std::function<void()> next = std::move(waiting_.front());
        waiting_.pop();
        --idle_;
        lock.unlock();
        next();
        next = nullptr;
        lock.lock();
        ++idle_;
        threadBecameIdle_.notify_all();
    }
}

} // namespace ternvault

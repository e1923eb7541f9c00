#include "volume/SmbWorker.h"

#include "volume/MountFailure.h"

#include <csignal>
#include <future>
#include <system_error>

namespace ternvault::volume {
namespace {

constexpr std::chrono::seconds idleRefresh{10};
constexpr std::chrono::seconds reconnectPause{1};
constexpr std::chrono::milliseconds reconnectPatience{2000};
constexpr std::chrono::milliseconds supervisePeriod{200};
constexpr std::chrono::seconds beatPeriod{1};

/// Signals stay with the thread that serves the kernel.
template <typename Body>
std::thread startThread(Body body) {
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, &before);
    std::thread thread(std::move(body));
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return thread;
}

} // namespace

SmbWorker::SmbWorker(MountUrl url, std::function<void()> beat)
    : url_(std::move(url)), beat_(std::move(beat)) {}

SmbWorker::~SmbWorker() {
    stop();
}

void SmbWorker::start(Listener& listener, std::chrono::milliseconds patience) {
    listener_ = &listener;
    // The thread may still be inside the promise when the outcome is here.
    const auto connected = std::make_shared<std::promise<void>>();
    auto outcome = connected->get_future();
    thread_ = startThread([this, patience, connected] { runThread(*connected, patience); });
    outcome.get();
    supervisor_ = startThread([this] { supervise(); });
}

void SmbWorker::stop() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    if (thread_.joinable())
        thread_.join();
    {
        const std::lock_guard lock(mutex_);
        superviseEnds_ = true;
        waiting_.clear();
    }
    superviseWake_.notify_all();
    if (supervisor_.joinable())
        supervisor_.join();
}

void SmbWorker::submit(RequestPtr request, Job job, Patience patience) {
    const auto now = Clock::now();
    Item item{std::move(request), std::move(job), patience, now};
    {
        const std::lock_guard lock(mutex_);
        if (up_ || mayWait(item, now)) {
            (up_ ? queue_ : waiting_).push_back(std::move(item));
            wake_.notify_one();
            return;
        }
    }
    if (item.request)
        item.request->error(ETIMEDOUT);
}

/// One wait of patienceLimit, then as long without any. Lock held.
bool SmbWorker::mayWait(const Item& item, Clock::time_point now) {
    if (stopping_ || item.patience == Patience::None || now - item.submitted >= patienceLimit)
        return false;
    if (now >= waitUntil_ + patienceLimit)
        waitUntil_ = now + patienceLimit;
    return now < waitUntil_;
}

void SmbWorker::runThread(std::promise<void>& connected, std::chrono::milliseconds patience) {
    try {
        connect(patience);
    } catch (...) {
        connected.set_exception(std::current_exception());
        return;
    }
    connected.set_value();
    while (runNext()) {
    }
    share_.reset();
}

void SmbWorker::connect(std::chrono::milliseconds patience) {
    auto address = std::make_shared<const ServerAddress>(ServerAddress::reach(url_.host, patience));
    {
        const std::lock_guard lock(mutex_);
        address_ = address;
    }
    auto share = std::make_unique<SmbShare>(*address, url_, watch_, generation_);
    listener_->refresh(*share);
    share_ = std::move(share);
    const std::lock_guard lock(mutex_);
    std::move(waiting_.begin(), waiting_.end(), std::back_inserter(queue_));
    waiting_.clear();
    waitUntil_ = {};
    up_ = true;
}

void SmbWorker::reconnect() {
    share_.reset();
    bool reportedGone = false;
    std::unique_lock lock(mutex_);
    while (!stopping_) {
        lock.unlock();
        try {
            connect(reconnectPatience);
            return;
        } catch (const std::exception&) {
            // The next round tries again.
        }
        lock.lock();
        if (!reportedGone && Clock::now() - lostAt_ > goneAfter) {
            reportedGone = true;
            lock.unlock();
            listener_->serverGone();
            lock.lock();
        }
        wake_.wait_for(lock, reconnectPause, [this] { return stopping_; });
    }
}

/// False at the end.
bool SmbWorker::runNext() {
    std::unique_lock lock(mutex_);
    if (!up_ && !stopping_) {
        lock.unlock();
        reconnect();
        return true;
    }
    const bool something =
        wake_.wait_for(lock, idleRefresh, [this] { return !queue_.empty() || stopping_ || !up_; });
    if (!up_)
        return !stopping_;
    if (queue_.empty() && stopping_)
        return false;
    if (!something)
        queue_.push_back(
            {nullptr, [this](SmbShare& share) { refresh(share); }, Patience::None, Clock::now()});
    Item item = std::move(queue_.front());
    queue_.pop_front();
    current_ = item;
    lock.unlock();
    run(item);
    return true;
}

/// A share whose root cannot be read is lost, whatever the reason (the session was ended on the server, say).
void SmbWorker::refresh(SmbShare& share) {
    try {
        listener_->refresh(share);
    } catch (const std::system_error&) {
        lose();
    }
}

void SmbWorker::run(const Item& item) {
    int error = 0;
    try {
        if (!item.request || !item.request->isAnswered())
            item.job(*share_);
    } catch (const std::system_error& failure) {
        error = failure.code().value();
        if (address_->liveConnections() < share_->connections())
            lose();
    }
    std::unique_lock lock(mutex_);
    const bool handedOver = !current_;
    current_.reset();
    lock.unlock();
    if (error != 0 && item.request && !handedOver)
        item.request->error(error);
    if (share_->isSpoiled())
        lose();
}

void SmbWorker::lose() {
    std::deque<Item> failed;
    {
        const std::lock_guard lock(mutex_);
        if (!up_)
            return;
        up_ = false;
        const auto now = lostAt_ = Clock::now();
        ++generation_;
        if (current_) {
            queue_.push_front(std::move(*current_));
            current_.reset();
        }
        for (auto& item : queue_)
            (mayWait(item, now) ? waiting_ : failed).push_back(std::move(item));
        queue_.clear();
        address_->cutConnections();
    }
    wake_.notify_all();
    listener_->connectionLost();
    for (auto& item : failed) {
        if (item.request)
            item.request->error(ETIMEDOUT);
    }
}

void SmbWorker::supervise() {
    auto nextBeat = Clock::now();
    std::unique_lock lock(mutex_);
    while (!superviseEnds_) {
        const bool busy = current_ || !waiting_.empty() || !up_;
        superviseWake_.wait_for(lock, busy ? supervisePeriod : beatPeriod);
        if (Clock::now() >= nextBeat) {
            nextBeat = Clock::now() + beatPeriod / 2;
            beat_();
        }
        failExpired(lock);
        if (watch_.running() > callLimit) {
            const auto address = address_;
            lock.unlock();
            lose();
            address->cutConnections();
            lock.lock();
        }
    }
}

void SmbWorker::failExpired(std::unique_lock<std::mutex>& lock) {
    if (waiting_.empty() || Clock::now() < waitUntil_)
        return;
    auto expired = std::exchange(waiting_, {});
    lock.unlock();
    for (auto& item : expired)
        item.request->error(ETIMEDOUT);
    expired.clear();
    lock.lock();
}

} // namespace ternvault::volume

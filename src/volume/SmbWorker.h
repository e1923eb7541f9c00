#pragma once

#include "volume/Request.h"
#include "volume/SmbShare.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace ternvault::volume {

/// Owns the one thread that may call libsmbclient, the jobs queued for it, and what happens in an outage.
///
/// A call that takes longer than `callLimit`, or that fails on a dead connection, begins an outage: every
/// queued request fails at once, and one reconnect runs. Meanwhile new requests fail at once too, except that
/// patient ones may wait for the reconnect once in a while, so that whoever tries again does not use up its
/// attempts within moments. An outage longer than `goneAfter` means that the server is gone for good.
class SmbWorker {
public:
    using Clock = std::chrono::steady_clock;
    using Job = std::function<void(SmbShare&)>;

    static constexpr std::chrono::seconds callLimit{5};
    static constexpr std::chrono::seconds patienceLimit{5};
    static constexpr std::chrono::seconds goneAfter{40};

    enum class Patience { None, UntilReconnected };

    /// Called without any lock held.
    class Listener {
    public:
        virtual ~Listener() = default;
        /// On the SMB thread, with every new connection before any job, and every few seconds while there is
        /// no job.
        virtual void refresh(SmbShare& share) = 0;
        /// On any thread. generation() has changed already; queued jobs are dropped afterwards.
        virtual void connectionLost() = 0;
        /// On the SMB thread, once.
        virtual void serverGone() = 0;
    };

    /// `beat` is called about once a second from a thread that shows by it that it is alive.
    SmbWorker(MountUrl url, std::function<void()> beat);
    ~SmbWorker();
    SmbWorker(const SmbWorker&) = delete;
    SmbWorker& operator=(const SmbWorker&) = delete;

    /// Connects for the first time. Throws MountFailure or std::system_error. The listener must live until
    /// stop().
    void start(Listener& listener, std::chrono::milliseconds patience);
    /// Lets queued jobs end, then ends the threads.
    void stop();

    /// Queues a job that answers `request`; a std::system_error that it throws is the answer. A job without a
    /// request is dropped in an outage. Any thread.
    void submit(RequestPtr request, Job job, Patience patience = Patience::None);
    void submit(Job job) { submit(nullptr, std::move(job)); }

    /// Number of the present connection. Any thread.
    unsigned generation() const { return generation_; }

private:
    struct Item {
        RequestPtr request;
        Job job;
        Patience patience;
        Clock::time_point submitted;
    };

    void runThread(std::promise<void>& connected, std::chrono::milliseconds patience);
    void connect(std::chrono::milliseconds patience);
    void reconnect();
    bool runNext();
    void refresh(SmbShare& share);
    void run(const Item& item);
    void lose();
    bool mayWait(const Item& item, Clock::time_point now);
    void supervise();
    void failExpired(std::unique_lock<std::mutex>& lock);

    const MountUrl url_;
    const std::function<void()> beat_;
    Listener* listener_ = nullptr;
    CallWatch watch_;
    std::atomic<unsigned> generation_ = 1;

    std::mutex mutex_;
    std::condition_variable wake_;
    std::condition_variable superviseWake_;
    std::shared_ptr<const ServerAddress> address_;
    std::deque<Item> queue_;
    std::deque<Item> waiting_;
    std::optional<Item> current_;
    bool up_ = false;
    bool stopping_ = false;
    bool superviseEnds_ = false;
    Clock::time_point lostAt_;
    Clock::time_point waitUntil_;

    std::unique_ptr<SmbShare> share_;
    std::thread thread_;
    std::thread supervisor_;
};

} // namespace ternvault::volume

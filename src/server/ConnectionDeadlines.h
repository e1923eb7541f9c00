#pragma once

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

namespace ternvault::server {

/// Shuts sockets down when their time is over, so that no client holds a connection by sending or taking
/// bytes slowly. Safe to use from several threads.
class ConnectionDeadlines {
public:
    ConnectionDeadlines();
    ConnectionDeadlines(const ConnectionDeadlines&) = delete;
    ConnectionDeadlines& operator=(const ConnectionDeadlines&) = delete;
    ~ConnectionDeadlines();

    /// Replaces the socket's earlier deadline.
    void set(int socket, std::chrono::seconds fromNow);
    /// To be called before the socket is closed.
    void forget(int socket);

private:
    using Clock = std::chrono::steady_clock;
    void run();

    std::mutex mutex_;
    std::condition_variable ended_;
    bool isEnding_ = false;
    std::map<int, Clock::time_point> deadlines_;
    std::thread thread_;
};

} // namespace ternvault::server

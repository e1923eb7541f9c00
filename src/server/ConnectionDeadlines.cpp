#include "server/ConnectionDeadlines.h"

#include <sys/socket.h>

namespace ternvault::server {

namespace {

constexpr std::chrono::seconds interval{1};

} // namespace

ConnectionDeadlines::ConnectionDeadlines() : thread_([this] { run(); }) {}

ConnectionDeadlines::~ConnectionDeadlines() {
    {
        const std::lock_guard lock(mutex_);
        isEnding_ = true;
    }
    ended_.notify_one();
    thread_.join();
}

void ConnectionDeadlines::set(int socket, std::chrono::seconds fromNow) {
    const std::lock_guard lock(mutex_);
    deadlines_[socket] = Clock::now() + fromNow;
}

void ConnectionDeadlines::forget(int socket) {
    const std::lock_guard lock(mutex_);
    deadlines_.erase(socket);
}

void ConnectionDeadlines::run() {
    std::unique_lock lock(mutex_);
    while (!ended_.wait_for(lock, interval, [this] { return isEnding_; }))
        for (const auto& [socket, deadline] : deadlines_)
            if (deadline <= Clock::now())
                ::shutdown(socket, SHUT_RDWR);
}

} // namespace ternvault::server

#include "volume/ServerAddress.h"

#include "base/FileDescriptor.h"
#include "volume/MountFailure.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <future>
#include <memory>
#include <system_error>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <unistd.h>

namespace ternvault::volume {
namespace {

using Clock = std::chrono::steady_clock;
using AddressList = std::shared_ptr<addrinfo>;

constexpr auto smbPort = "445";

AddressList lookUp(const std::string& host) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* list = nullptr;
    if (::getaddrinfo(host.c_str(), smbPort, &hints, &list) != 0)
        return {};
    return {list, ::freeaddrinfo};
}

/// The resolver cannot be interrupted, so a thread that nobody waits for asks it.
AddressList lookUpWithin(const std::string& host, std::chrono::milliseconds patience) {
    std::promise<AddressList> promise;
    auto answer = promise.get_future();
    std::thread([host, promise = std::move(promise)]() mutable { promise.set_value(lookUp(host)); }).detach();
    if (answer.wait_for(patience) != std::future_status::ready)
        throw MountFailure("The name of the server could not be resolved in time.");
    auto list = answer.get();
    if (!list)
        throw MountFailure("The name of the server cannot be resolved.");
    return list;
}

/// Tries the addresses of a name side by side: the next one begins when the last one failed or stayed silent
/// for a moment, and the first that connects wins.
class Race {
public:
    Race(const addrinfo* list, Clock::time_point end) : candidates_(alternating(list)), end_(end) {}

    /// Throws std::system_error when none connects in time.
    const addrinfo& winner() {
        while (next_ < candidates_.size() || !attempts_.empty()) {
            if (Clock::now() >= end_)
                fail(ETIMEDOUT);
            if (attempts_.empty() || Clock::now() >= nextStart_)
                startNext();
            if (const addrinfo* connected = await())
                return *connected;
        }
        fail(failure_);
    }

private:
    static constexpr std::chrono::milliseconds stagger{250};

    struct Attempt {
        FileDescriptor socket;
        const addrinfo* target;
    };

    [[noreturn]] static void fail(int error) {
        throw std::system_error(error, std::generic_category(), "connect");
    }

    /// In the resolver's order, but the two families take turns: where one does not work, it holds nobody up.
    static std::vector<const addrinfo*> alternating(const addrinfo* list) {
        std::vector<const addrinfo*> preferred, others, mixed;
        for (const auto* entry = list; entry; entry = entry->ai_next)
            (entry->ai_family == list->ai_family ? preferred : others).push_back(entry);
        for (std::size_t i = 0; i < std::max(preferred.size(), others.size()); ++i) {
            for (const auto* family : {&preferred, &others}) {
                if (i < family->size())
                    mixed.push_back((*family)[i]);
            }
        }
        return mixed;
    }

    void startNext() {
        if (next_ == candidates_.size())
            return;
        const addrinfo* target = candidates_[next_++];
        nextStart_ = Clock::now() + stagger;
        FileDescriptor socket(::socket(target->ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
        if (!socket ||
            (::connect(socket.get(), target->ai_addr, target->ai_addrlen) != 0 && errno != EINPROGRESS))
            noteFailure(errno);
        else
            attempts_.push_back({std::move(socket), target});
    }

    /// Waits until it is the next one's turn, or for an attempt that ends: the address that connected, or
    /// nothing.
    const addrinfo* await() {
        std::vector<pollfd> entries;
        entries.reserve(attempts_.size());
        for (const Attempt& attempt : attempts_)
            entries.push_back({attempt.socket.get(), POLLOUT, 0});
        const auto until = next_ < candidates_.size() ? std::min(nextStart_, end_) : end_;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now()).count();
        if (entries.empty() ||
            ::poll(entries.data(), entries.size(), static_cast<int>(std::max<long>(left, 0))) <= 0)
            return nullptr;
        for (std::size_t i = entries.size(); i-- > 0;) {
            if (entries[i].revents == 0)
                continue;
            const addrinfo* target = attempts_[i].target;
            int error = 0;
            socklen_t size = sizeof error;
            ::getsockopt(entries[i].fd, SOL_SOCKET, SO_ERROR, &error, &size);
            attempts_.erase(attempts_.begin() + static_cast<std::ptrdiff_t>(i));
            if (error == 0)
                return target;
            noteFailure(error);
            nextStart_ = Clock::now();
        }
        return nullptr;
    }

    /// That a server was there and refused says more than that another address leads nowhere.
    void noteFailure(int error) {
        if (failure_ != ECONNREFUSED)
            failure_ = error;
    }

    const std::vector<const addrinfo*> candidates_;
    const Clock::time_point end_;
    std::size_t next_ = 0;
    Clock::time_point nextStart_{};
    std::vector<Attempt> attempts_;
    int failure_ = EHOSTUNREACH;
};

bool sameEndpoint(const sockaddr_storage& a, const sockaddr_storage& b) {
    if (a.ss_family != b.ss_family)
        return false;
    if (a.ss_family == AF_INET) {
        const auto& x = reinterpret_cast<const sockaddr_in&>(a);
        const auto& y = reinterpret_cast<const sockaddr_in&>(b);
        return x.sin_port == y.sin_port && x.sin_addr.s_addr == y.sin_addr.s_addr;
    }
    const auto& x = reinterpret_cast<const sockaddr_in6&>(a);
    const auto& y = reinterpret_cast<const sockaddr_in6&>(b);
    return x.sin6_port == y.sin6_port && std::memcmp(&x.sin6_addr, &y.sin6_addr, sizeof x.sin6_addr) == 0;
}

std::vector<int> socketsTo(const sockaddr_storage& peer) {
    std::vector<int> found;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", ignored)) {
        const int fd = std::stoi(entry.path().filename());
        sockaddr_storage address{};
        socklen_t length = sizeof address;
        if (::getpeername(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0 &&
            sameEndpoint(address, peer))
            found.push_back(fd);
    }
    return found;
}

} // namespace

ServerAddress::ServerAddress(const sockaddr* address, socklen_t length) : length_(length) {
    std::memcpy(&address_, address, length);
    char digits[NI_MAXHOST];
    if (::getnameinfo(address, length, digits, sizeof digits, nullptr, 0, NI_NUMERICHOST) == 0)
        text_ = digits;
}

ServerAddress ServerAddress::reach(const std::string& host, std::chrono::milliseconds patience) {
    const auto end = Clock::now() + patience;
    const auto list = lookUpWithin(host, patience);
    const addrinfo& reached = Race(list.get(), end).winner();
    return {reached.ai_addr, reached.ai_addrlen};
}

std::size_t ServerAddress::liveConnections() const {
    const auto sockets = socketsTo(address_);
    return static_cast<std::size_t>(std::count_if(sockets.begin(), sockets.end(), [](int fd) {
        pollfd entry{fd, POLLRDHUP, 0};
        return ::poll(&entry, 1, 0) == 0;
    }));
}

void ServerAddress::cutConnections() const {
    // Not by shutdown(2), after which the system goes on delivering what it has not sent yet: such a write
    // would reach the server after those of the next connection.
    const sockaddr nobody{AF_UNSPEC, {}};
    for (const int fd : socketsTo(address_)) {
        if (::connect(fd, &nobody, sizeof nobody) != 0)
            ::shutdown(fd, SHUT_RDWR);
    }
}

} // namespace ternvault::volume

#include "volume/ServerAddress.h"

#include "volume/MountFailure.h"

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

/// 0 or why no connection came about.
int tryConnect(const addrinfo& target, Clock::time_point end) {
    const int fd = ::socket(target.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return errno;
    int error = ::connect(fd, target.ai_addr, target.ai_addrlen) == 0 ? 0 : errno;
    if (error == EINPROGRESS) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        pollfd entry{fd, POLLOUT, 0};
        socklen_t size = sizeof error;
        if (::poll(&entry, 1, static_cast<int>(std::max<decltype(left)>(left, 0))) <= 0)
            error = ETIMEDOUT;
        else
            ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size);
    }
    ::close(fd);
    return error;
}

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
    int error = EHOSTUNREACH;
    for (const auto* candidate = list.get(); candidate; candidate = candidate->ai_next) {
        error = tryConnect(*candidate, end);
        if (error == 0)
            return {candidate->ai_addr, candidate->ai_addrlen};
    }
    throw std::system_error(error, std::generic_category(), "connect");
}

bool ServerAddress::hasLiveConnection() const {
    for (const int fd : socketsTo(address_)) {
        pollfd entry{fd, POLLRDHUP, 0};
        if (::poll(&entry, 1, 0) == 0)
            return true;
    }
    return false;
}

void ServerAddress::cutConnections() const {
    for (const int fd : socketsTo(address_))
        ::shutdown(fd, SHUT_RDWR);
}

} // namespace ternvault::volume

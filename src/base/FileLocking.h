#pragma once

#include <sys/file.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>

namespace ternvault {

/// Takes flock(2)'s exclusive lock; std::errc::timed_out when somebody else holds it for longer than
/// `patience`.
inline std::error_code lockExclusively(int descriptor, std::chrono::milliseconds patience) {
    // Somebody who takes the lock again and again leaves it free for moments only; somebody who keeps it, for
    // good.
    std::chrono::microseconds pause(300);
    constexpr std::chrono::microseconds longestPause(10'000);
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR)
            return {errno, std::generic_category()};
        if (std::chrono::steady_clock::now() >= deadline)
            return std::make_error_code(std::errc::timed_out);
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 11 / 10, longestPause);
    }
    return {};
}

} // namespace ternvault

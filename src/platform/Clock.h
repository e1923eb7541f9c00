#pragma once

#include <chrono>

namespace ternvault {

using SteadyTime = std::chrono::steady_clock::time_point;
using WallTime = std::chrono::system_clock::time_point;

/// The two clocks. Any thread.
class Clock {
public:
    virtual ~Clock() = default;

    /// For pauses and cool-downs: never set back.
    virtual SteadyTime steadyNow() const = 0;
    /// For time stamps: the time of day.
    virtual WallTime wallNow() const = 0;
};

} // namespace ternvault

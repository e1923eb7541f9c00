#pragma once

#include "platform/Clock.h"

namespace ternvault {

/// The clocks of the kernel.
class SystemClock final : public Clock {
public:
    SteadyTime steadyNow() const override { return std::chrono::steady_clock::now(); }
    WallTime wallNow() const override { return std::chrono::system_clock::now(); }
};

} // namespace ternvault

#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace ternvault {

/// A pending timer; destroying it cancels it.
class Timer {
public:
    virtual ~Timer() = default;
};

/// The event loop of the main thread.
class MainLoop {
public:
    virtual ~MainLoop() = default;

    /// Runs `work` on a later turn of the loop, in the order of posting. Any thread.
    virtual void post(std::function<void()> work) = 0;
    /// Runs `action` once after `delay`. Main thread only.
    [[nodiscard]] virtual std::unique_ptr<Timer> after(std::chrono::milliseconds delay,
                                                       std::function<void()> action) = 0;
    /// Runs `action` every `interval`, first after one interval. Keeps ticking while a menu is open or a
    /// window is being resized. Main thread only.
    [[nodiscard]] virtual std::unique_ptr<Timer> every(std::chrono::milliseconds interval,
                                                       std::function<void()> action) = 0;
};

} // namespace ternvault

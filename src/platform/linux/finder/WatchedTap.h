#pragma once

#include "platform/EventTap.h"
#include "platform/linux/finder/FrontFolderWatch.h"

namespace ternvault::finder {

/// Has the watch at work while the tap is on, from the first `enable` on, and lets the callback see what was
/// in front when the press came. Both outlive it.
class WatchedTap final : public EventTap {
public:
    WatchedTap(EventTap& tap, FrontFolderWatch& watch) : tap_(tap), watch_(watch) {}

    bool run(std::uint32_t eventTypes, const Callback& callback) override {
        const bool wasStopped = tap_.run(eventTypes, [&](const TappedEvent& event) {
            watch_.hold();
            callback(event);
            watch_.release();
        });
        if (!wasStopped)
            watch_.rest();
        return wasStopped;
    }
    void enable(bool isOn) override {
        tap_.enable(isOn);
        isOn ? watch_.start() : watch_.rest();
    }
    void stop() override { tap_.stop(); }

private:
    EventTap& tap_;
    FrontFolderWatch& watch_;
};

} // namespace ternvault::finder

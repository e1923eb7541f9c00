#pragma once

#include "platform/EventTap.h"
#include "platform/linux/Doorbell.h"
#include "platform/linux/X11TapRefusal.h"

#include <atomic>
#include <memory>

namespace ternvault {

/// Holds back presses of Ctrl+V, with whatever locks are on, in a session on an X server. No other event
/// comes to the callback, whatever types it is to be.
///
/// A press that nobody has swallowed after 150 ms goes on, and so does one that comes while the callback is
/// still busy with the one before. Of a swallowed press, the repetitions and the release are swallowed, too.
/// The callback's thread is the caller's of `run`; another thread, which waits for nobody, answers the X
/// server.
class X11EventTap final : public EventTap {
public:
    /// When an exception leaves the callback, the tap is stopped and the exception leaves this.
    bool run(std::uint32_t eventTypes, const Callback& callback) override;
    /// While it is off, other programs can have the keys. Where one has them when it is to be on again, `run`
    /// returns false.
    void enable(bool isOn) override;
    /// For good: `run` returns at once when it is called afterwards. A press that is held goes on. The X
    /// server is left at once, even if the callback hangs and `run` has to wait for it.
    void stop() override;

    /// Why `run` returned false. Any thread.
    x11::TapRefusal refusal() const { return refusal_; }

private:
    const std::shared_ptr<const Doorbell> doorbell_ = std::make_shared<const Doorbell>();
    std::atomic<bool> enabled_ = true;
    std::atomic<bool> stopping_ = false;
    std::atomic<x11::TapRefusal> refusal_ = x11::TapRefusal::none;
};

} // namespace ternvault

#pragma once

#include <cstdint>
#include <functional>

namespace ternvault {

/// A key event of the whole session on its way to the application in front.
struct TappedEvent {
    /// One of `event_types`.
    std::uint32_t type = 0;
    /// Bits of `key_flags`.
    std::uint32_t flags = 0;
    /// One of `key_codes`, or any other number.
    std::uint32_t keyCode = 0;
    /// Takes the event away, so that nobody else receives it; false when it has gone on already, because
    /// deciding took too long.
    std::function<bool()> swallow;
};

/// A filter on the keyboard of the whole session.
class EventTap {
public:
    /// What it does not swallow goes on once it returns.
    using Callback = std::function<void(const TappedEvent& event)>;

    virtual ~EventTap() = default;

    /// Filters on this thread the events whose types are bits of `eventTypes`, until `stop`. False when the
    /// tap cannot be created, or is lost and cannot be created anew. An implementation may leave events out
    /// that its users never ask for.
    virtual bool run(std::uint32_t eventTypes, const Callback& callback) = 0;
    /// While it is off, new events go on at once. It is on at first. Any thread.
    virtual void enable(bool isOn) = 0;
    /// Has `run` return once the callback has; nothing is held up any more from now on. Any thread.
    virtual void stop() = 0;
};

} // namespace ternvault

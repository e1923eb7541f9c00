#pragma once

#include "platform/linux/Doorbell.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

namespace ternvault::x11 {

/// A key press that the X server holds back until somebody settles what becomes of it. Any thread.
class HeldPress {
public:
    enum class Fate { open, swallowed, passedOn };

    /// `eventFlags` are bits of `key_flags`.
    HeldPress(std::uint32_t eventFlags, std::shared_ptr<const Doorbell> keyboardThread)
        : flags(eventFlags), keyboardThread_(std::move(keyboardThread)) {}

    /// The first one settles it; false for all others.
    bool settle(Fate fate) {
        Fate before = Fate::open;
        const bool first = fate_.compare_exchange_strong(before, fate);
        if (first)
            keyboardThread_->ring();
        return first;
    }
    Fate fate() const { return fate_; }

    const std::uint32_t flags;

private:
    const std::shared_ptr<const Doorbell> keyboardThread_;
    std::atomic<Fate> fate_ = Fate::open;
};

} // namespace ternvault::x11

#include "platform/linux/X11EventTap.h"

#include "platform/KeyNumbers.h"
#include "platform/linux/X11TappedKeyboard.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace ternvault {

using x11::HeldPress;
using x11::TappedKeyboard;
using x11::TapRefusal;

namespace {

/// Where the keyboard's thread puts a press down for the one that runs the callback.
class Desk {
public:
    /// False while the press before is still being looked at.
    bool put(std::shared_ptr<HeldPress> press) {
        const std::lock_guard lock(mutex_);
        if (isBusy_)
            return false;
        isBusy_ = true;
        press_ = std::move(press);
        changed_.notify_one();
        return true;
    }

    void close() {
        const std::lock_guard lock(mutex_);
        isClosed_ = true;
        changed_.notify_one();
    }

    /// Waits for a press; null when it is closed.
    std::shared_ptr<HeldPress> take() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return isClosed_ || press_ != nullptr; });
        return isClosed_ ? nullptr : std::exchange(press_, nullptr);
    }

    /// What was taken has been looked at.
    void finish() {
        const std::lock_guard lock(mutex_);
        isBusy_ = false;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::shared_ptr<HeldPress> press_;
    bool isBusy_ = false;
    bool isClosed_ = false;
};

/// A connection that is lost, for example because somebody ended it, is made anew.
TapRefusal serveKeyboard(const std::shared_ptr<const Doorbell>& doorbell, const std::atomic<bool>& enabled,
                         const std::atomic<bool>& stopping, Desk& desk) {
    try {
        while (!stopping) {
            TappedKeyboard keyboard(doorbell, enabled, [&](std::shared_ptr<HeldPress> press) {
                return desk.put(std::move(press));
            });
            keyboard.serve(stopping);
        }
        return TapRefusal::none;
    } catch (TapRefusal refusal) {
        return refusal;
    }
}

TappedEvent eventOf(const std::shared_ptr<HeldPress>& press) {
    return {event_types::keyDown, press->flags, key_codes::v,
            [press] { return press->settle(HeldPress::Fate::swallowed); }};
}

} // namespace

bool X11EventTap::run(std::uint32_t, const Callback& callback) {
    Desk desk;
    std::thread keyboard([&] {
        refusal_ = serveKeyboard(doorbell_, enabled_, stopping_, desk);
        desk.close();
    });
    try {
        while (const std::shared_ptr<HeldPress> press = desk.take()) {
            callback(eventOf(press));
            // In this order, because it may have the keyboard bring the next press.
            desk.finish();
            press->settle(HeldPress::Fate::passedOn);
        }
    } catch (...) {
        stop();
        keyboard.join();
        throw;
    }
    keyboard.join();
    return stopping_;
}

void X11EventTap::enable(bool isOn) {
    enabled_ = isOn;
    doorbell_->ring();
}

void X11EventTap::stop() {
    stopping_ = true;
    doorbell_->ring();
}

} // namespace ternvault

#pragma once

#include "platform/linux/X11Connection.h"
#include "platform/linux/X11HeldPress.h"
#include "platform/linux/X11PasteKeys.h"
#include "platform/linux/X11TapRefusal.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>

namespace ternvault::x11 {

/// A connection of its own, over which the X server holds each press of Ctrl+V back until its fate is
/// settled. Used on one thread, which answers for the whole session's keyboard: it stands still meanwhile.
class TappedKeyboard {
public:
    /// Hands a press to whoever settles it; false when nobody has the time.
    using Offer = std::function<bool(std::shared_ptr<HeldPress>)>;

    /// It has the keys while `enabled` is set, and looks at it when it is woken up. Throws a TapRefusal.
    TappedKeyboard(std::shared_ptr<const Doorbell> doorbell, const std::atomic<bool>& enabled, Offer offer);
    /// The press that is held goes on. Once it returns, the server knows nothing of us any more.
    ~TappedKeyboard();
    TappedKeyboard(const TappedKeyboard&) = delete;
    TappedKeyboard& operator=(const TappedKeyboard&) = delete;

    /// Serves until it is woken up with `stopping` set, or the connection is lost. Throws a TapRefusal when
    /// the keys cannot be taken again, or those of a new keyboard mapping cannot be tapped.
    void serve(const std::atomic<bool>& stopping);

private:
    void followMapping();
    void followSwitch();
    void grab(const std::vector<PasteKeys::Chord>& chords);
    void ungrab();
    void giveUp();

    void handle(const xcb_generic_event_t& event);
    void hold(const xcb_key_press_event_t& press);
    void handleWhileDown(const xcb_key_press_event_t& event);
    void regrab();
    void onKeyUp();
    void settleByDeadline();
    void answerSettled();
    void answer(xcb_allow_t mode);
    void wait() const;
    bool isLost() const { return !isConnected(connection_); }

    const std::shared_ptr<const Doorbell> doorbell_;
    const std::atomic<bool>& enabled_;
    const Offer offer_;
    const Connection connection_;
    const std::uint8_t xkbEvent_;
    PasteKeys keys_;
    std::vector<PasteKeys::Chord> grabbed_;
    bool isOn_ = false;
    bool mappingChanged_ = false;

    std::shared_ptr<HeldPress> held_;
    std::chrono::steady_clock::time_point deadline_;
    xcb_keycode_t heldKey_ = 0;
    /// Of the press that was swallowed last, while it is down; 0 for none.
    xcb_keycode_t keyDown_ = 0;
    /// What is held of the keyboard does not end by itself with the key.
    bool grabbedAnew_ = false;
};

} // namespace ternvault::x11

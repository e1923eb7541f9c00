#include "platform/linux/X11TappedKeyboard.h"

#include "platform/KeyNumbers.h"
#include "platform/linux/XcbXkb.h"

#include <QByteArray>

#include <poll.h>
#include <xkbcommon/xkbcommon-x11.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace ternvault::x11 {

namespace {

using Clock = std::chrono::steady_clock;

/// From the receipt of a press; what the server and a busy machine add stays below 10 ms.
constexpr std::chrono::milliseconds patience(150);

bool isWaylandSession() {
    return qgetenv("XDG_SESSION_TYPE") == "wayland" || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

Connection connectOrRefuse() {
    if (isWaylandSession())
        throw TapRefusal::waylandSession;
    Connection connection = connect();
    if (connection == nullptr)
        throw TapRefusal::noDisplay;
    return connection;
}

/// Has events tell the layout that a key was pressed in, and no release that did not happen when a key
/// repeats.
void makeKeysExact(xcb_connection_t* connection) {
    constexpr std::uint32_t flags = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT |
                                    XCB_XKB_PER_CLIENT_FLAG_GRABS_USE_XKB_STATE |
                                    XCB_XKB_PER_CLIENT_FLAG_LOOKUP_STATE_WHEN_GRABBED;
    const auto cookie = xcb_xkb_per_client_flags(connection, XCB_XKB_ID_USE_CORE_KBD, flags, flags, 0, 0, 0);
    const Owned<xcb_xkb_per_client_flags_reply_t> done(
        xcb_xkb_per_client_flags_reply(connection, cookie, nullptr));
}

/// The core protocol's event does not come to those who know XKB.
void tellOfMappings(xcb_connection_t* connection) {
    constexpr std::uint16_t events = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    constexpr std::uint16_t parts =
        XCB_XKB_MAP_PART_KEY_TYPES | XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP;
    xcb_xkb_select_events(connection, XCB_XKB_ID_USE_CORE_KBD, events, 0, events, parts, parts, nullptr);
}

/// Returns the type of XKB's events; 0, which is that of errors, when the server does not know it.
std::uint8_t setUpXkb(xcb_connection_t* connection) {
    std::uint8_t event = 0;
    if (xkb_x11_setup_xkb_extension(connection, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                                    XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, &event,
                                    nullptr) != 0) {
        makeKeysExact(connection);
        tellOfMappings(connection);
    }
    return event;
}

} // namespace

TappedKeyboard::TappedKeyboard(std::shared_ptr<const Doorbell> doorbell, const std::atomic<bool>& enabled,
                               Offer offer)
    : doorbell_(std::move(doorbell)), enabled_(enabled), offer_(std::move(offer)),
      connection_(connectOrRefuse()), xkbEvent_(setUpXkb(connection_.get())) {
    try {
        followMapping();
    } catch (TapRefusal) {
        giveUp();
        throw;
    }
    if (isLost())
        throw TapRefusal::noDisplay;
    if (keys_.chords().empty())
        throw TapRefusal::noPasteKey;
}

TappedKeyboard::~TappedKeyboard() {
    if (held_ != nullptr) {
        held_->settle(HeldPress::Fate::passedOn);
        answerSettled();
    }
    giveUp();
}

void TappedKeyboard::serve(const std::atomic<bool>& stopping) {
    while (!stopping && !isLost()) {
        settleByDeadline();
        answerSettled();
        // Sending may read events, which poll(2) would not tell about any more.
        xcb_flush(connection_.get());
        if (const Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())})
            handle(*event);
        else if (std::exchange(mappingChanged_, false))
            followMapping();
        else if (enabled_ != isOn_)
            followSwitch();
        else if (!isLost())
            wait();
    }
}

void TappedKeyboard::followMapping() {
    keys_ = PasteKeys(connection_.get());
    followSwitch();
}

void TappedKeyboard::followSwitch() {
    isOn_ = enabled_;
    grab(isOn_ ? keys_.chords() : std::vector<PasteKeys::Chord>());
}

/// Keys that go on meaning the same stay grabbed without a gap.
void TappedKeyboard::grab(const std::vector<PasteKeys::Chord>& chords) {
    if (chords == grabbed_)
        return;
    ungrab();
    std::vector<xcb_void_cookie_t> requests;
    requests.reserve(chords.size());
    for (const PasteKeys::Chord& chord : chords)
        requests.push_back(xcb_grab_key_checked(connection_.get(), 0, rootWindow(connection_.get()),
                                                chord.modifiers, chord.key, XCB_GRAB_MODE_ASYNC,
                                                XCB_GRAB_MODE_SYNC));
    grabbed_ = chords;
    bool refused = false;
    for (const xcb_void_cookie_t request : requests) {
        const Owned<xcb_generic_error_t> error(xcb_request_check(connection_.get(), request));
        refused |= error != nullptr;
    }
    if (refused)
        throw TapRefusal::keyTaken;
}

void TappedKeyboard::ungrab() {
    for (const PasteKeys::Chord& chord : std::exchange(grabbed_, {}))
        xcb_ungrab_key(connection_.get(), chord.key, rootWindow(connection_.get()), chord.modifiers);
}

/// A press that is held, but has not been read yet, goes on.
void TappedKeyboard::giveUp() {
    ungrab();
    answer(XCB_ALLOW_REPLAY_KEYBOARD);
    xcb_ungrab_keyboard(connection_.get(), XCB_CURRENT_TIME);
    // A server that finds the connection closed may not read what was sent last.
    const Owned<xcb_get_input_focus_reply_t> done(
        xcb_get_input_focus_reply(connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
}

void TappedKeyboard::handle(const xcb_generic_event_t& event) {
    const auto& key = reinterpret_cast<const xcb_key_press_event_t&>(event);
    const unsigned type = event.response_type;
    if (type == xkbEvent_)
        mappingChanged_ = true;
    else if ((type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) && keyDown_ != 0)
        handleWhileDown(key);
    else if (type == XCB_KEY_PRESS)
        hold(key);
}

void TappedKeyboard::hold(const xcb_key_press_event_t& press) {
    deadline_ = Clock::now() + patience;
    heldKey_ = press.detail;
    // The grabs let no other modifiers come here.
    const std::uint32_t capsLock = (press.state & XCB_MOD_MASK_LOCK) != 0 ? key_flags::capsLock : 0;
    held_ = std::make_shared<HeldPress>(key_flags::command | capsLock, doorbell_);
    if (!keys_.isV(press) || !offer_(held_))
        held_->settle(HeldPress::Fate::passedOn);
}

void TappedKeyboard::settleByDeadline() {
    if (held_ != nullptr && Clock::now() >= deadline_)
        held_->settle(HeldPress::Fate::passedOn);
}

/// After a swallowed press the keyboard stops again at its next event, whichever key's.
void TappedKeyboard::answerSettled() {
    if (held_ == nullptr || held_->fate() == HeldPress::Fate::open)
        return;
    const bool isSwallowed = held_->fate() == HeldPress::Fate::swallowed;
    answer(isSwallowed ? XCB_ALLOW_SYNC_KEYBOARD : XCB_ALLOW_REPLAY_KEYBOARD);
    keyDown_ = isSwallowed ? heldKey_ : 0;
    held_ = nullptr;
}

/// The key's repetitions and its release go the way of its press, all else goes on. Letting a key go on gives
/// the keyboard up; since a key goes on repeating when a modifier is released, it is taken again at once.
void TappedKeyboard::handleWhileDown(const xcb_key_press_event_t& event) {
    if (event.detail != keyDown_) {
        answer(XCB_ALLOW_REPLAY_KEYBOARD);
        regrab();
    } else if (event.response_type == XCB_KEY_PRESS) {
        answer(XCB_ALLOW_SYNC_KEYBOARD);
    } else {
        onKeyUp();
    }
}

/// In between, a release may have gone on to the window in front.
void TappedKeyboard::regrab() {
    const auto grabbing = xcb_grab_keyboard(connection_.get(), 0, rootWindow(connection_.get()),
                                            XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_SYNC);
    const auto asking = xcb_query_keymap(connection_.get());
    const Owned<xcb_grab_keyboard_reply_t> grab(
        xcb_grab_keyboard_reply(connection_.get(), grabbing, nullptr));
    const Owned<xcb_query_keymap_reply_t> keys(xcb_query_keymap_reply(connection_.get(), asking, nullptr));
    grabbedAnew_ = grab != nullptr && grab->status == XCB_GRAB_STATUS_SUCCESS;
    if (grabbedAnew_ && keys != nullptr && (keys->keys[keyDown_ / 8] >> keyDown_ % 8 & 1) != 0)
        answer(XCB_ALLOW_SYNC_KEYBOARD);
    else
        onKeyUp();
}

/// The grab that came with the press has ended by itself, and the next press may be held already.
void TappedKeyboard::onKeyUp() {
    if (std::exchange(grabbedAnew_, false))
        xcb_ungrab_keyboard(connection_.get(), XCB_CURRENT_TIME);
    keyDown_ = 0;
}

void TappedKeyboard::answer(xcb_allow_t mode) {
    xcb_allow_events(connection_.get(), mode, XCB_CURRENT_TIME);
}

void TappedKeyboard::wait() const {
    using std::chrono::milliseconds;
    const auto left = std::chrono::ceil<milliseconds>(deadline_ - Clock::now());
    pollfd sources[] = {{xcb_get_file_descriptor(connection_.get()), POLLIN, 0},
                        {doorbell_->descriptor(), POLLIN, 0}};
    ::poll(sources, std::size(sources),
           held_ != nullptr ? static_cast<int>(std::max(left, milliseconds(0)).count()) : -1);
    doorbell_->quiet();
}

} // namespace ternvault::x11

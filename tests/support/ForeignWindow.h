#pragma once

#include "platform/linux/X11Connection.h"
#include "platform/linux/XcbXkb.h"

#include <poll.h>
#include <xcb/xtest.h>
#include <xkbcommon/xkbcommon-x11.h>

#include <chrono>
#include <optional>

namespace ternvault {

/// A window of another program, as far as the X server can tell: it has the focus and its own connection,
/// over which it also moves the keys (XTEST) and the locks.
class ForeignWindow {
public:
    using Clock = std::chrono::steady_clock;
    struct Arrival {
        xcb_keycode_t key;
        Clock::time_point at;
    };

    ForeignWindow() {
        xkb_x11_setup_xkb_extension(display(), XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                                    XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, nullptr, nullptr);
        const std::uint32_t values[] = {1, XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_EXPOSURE};
        xcb_create_window(display(), XCB_COPY_FROM_PARENT, window_, root(), 0, 0, 100, 100, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                          XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
        xcb_map_window(display(), window_);
        xcb_set_input_focus(display(), XCB_INPUT_FOCUS_NONE, window_, XCB_CURRENT_TIME);
        sync();
    }

    xcb_connection_t* display() { return connection_.get(); }
    xcb_window_t root() { return x11::rootWindow(display()); }

    void press(xcb_keycode_t key) { fake(XCB_KEY_PRESS, key); }
    void release(xcb_keycode_t key) { fake(XCB_KEY_RELEASE, key); }
    void type(xcb_keycode_t key) {
        press(key);
        release(key);
    }

    /// Bits of the core protocol's modifiers.
    void lock(std::uint8_t modifiers, std::uint8_t layout = 0) {
        xcb_xkb_latch_lock_state(display(), XCB_XKB_ID_USE_CORE_KBD, 0xff, modifiers, 1, layout, 0, 0, 0);
        sync();
    }

    /// The next press that reaches the window; nothing when none does in time.
    std::optional<Arrival> next(std::chrono::milliseconds patience) {
        const Clock::time_point deadline = Clock::now() + patience;
        do {
            while (const x11::Owned<xcb_generic_event_t> event{xcb_poll_for_event(display())}) {
                if (event->response_type == XCB_KEY_PRESS)
                    return Arrival{reinterpret_cast<const xcb_key_press_event_t&>(*event).detail,
                                   Clock::now()};
            }
        } while (readable(deadline));
        return std::nullopt;
    }

    /// Has the server done all that was asked for, because its answers come in order.
    void sync() { x11::atom(display(), "any"); }

private:
    void fake(std::uint8_t type, xcb_keycode_t key) {
        xcb_test_fake_input(display(), type, key, XCB_CURRENT_TIME, root(), 0, 0, 0);
        xcb_flush(display());
    }

    bool readable(Clock::time_point deadline) {
        pollfd source{xcb_get_file_descriptor(display()), POLLIN, 0};
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        return left.count() > 0 && ::poll(&source, 1, static_cast<int>(left.count())) > 0;
    }

    const x11::Connection connection_ = x11::connect();
    const xcb_window_t window_ = xcb_generate_id(connection_.get());
};

} // namespace ternvault

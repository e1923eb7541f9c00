#pragma once

#include <xcb/xcb.h>

#include <compare>
#include <cstdint>
#include <map>
#include <vector>

namespace ternvault::x11 {

/// Which presses are Ctrl+V, in the keyboard mapping of the moment.
class PasteKeys {
public:
    /// A key together with exactly these modifiers.
    struct Chord {
        xcb_keycode_t key;
        std::uint16_t modifiers;
        auto operator<=>(const Chord&) const = default;
    };

    /// None at first.
    PasteKeys() = default;
    /// Asks the server; none when the connection is broken or XKB has not been set up on it.
    explicit PasteKeys(xcb_connection_t* connection);

    /// Ctrl with each key that types v in some layout, whatever locks are on.
    std::vector<Chord> chords() const;
    /// One of those keys may type something else in the layout that the press was made in.
    bool isV(const xcb_key_press_event_t& press) const;

private:
    /// Bit by bit, the layouts in which the key counts as v.
    std::map<xcb_keycode_t, unsigned> layoutsByKey_;
    std::vector<std::uint16_t> locks_;
};

} // namespace ternvault::x11

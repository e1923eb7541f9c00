#include "platform/linux/X11PasteKeys.h"

#include "platform/linux/X11Connection.h"

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon-x11.h>

#include <iterator>
#include <memory>
#include <set>

namespace ternvault::x11 {

namespace {

constexpr xkb_layout_index_t layoutLimit = 4;

struct XkbDeleter {
    void operator()(xkb_context* context) const { xkb_context_unref(context); }
    void operator()(xkb_keymap* keymap) const { xkb_keymap_unref(keymap); }
};
using Keymap = std::unique_ptr<xkb_keymap, XkbDeleter>;

/// Null when the server does not tell.
Keymap keymapOf(xcb_connection_t* connection) {
    const std::unique_ptr<xkb_context, XkbDeleter> context(xkb_context_new(
        static_cast<xkb_context_flags>(XKB_CONTEXT_NO_DEFAULT_INCLUDES | XKB_CONTEXT_NO_ENVIRONMENT_NAMES)));
    return Keymap(xkb_x11_keymap_new_from_device(context.get(), connection,
                                                 xkb_x11_get_core_keyboard_device_id(connection),
                                                 XKB_KEYMAP_COMPILE_NO_FLAGS));
}

/// What the key types without modifiers.
xkb_keysym_t symbolOf(xkb_keymap* keymap, xkb_keycode_t key, xkb_layout_index_t layout) {
    const xkb_keysym_t* symbols = nullptr;
    const int count = xkb_keymap_key_get_syms_by_level(keymap, key, layout, 0, &symbols);
    return count == 1 ? symbols[0] : XKB_KEY_NoSymbol;
}

/// A layout without Latin characters leaves shortcuts to the first that has one on the key, as in toolkits.
bool countsAsV(xkb_keymap* keymap, xkb_keycode_t key, xkb_layout_index_t layout) {
    constexpr xkb_keysym_t lastOfLatin1 = 0xff;
    for (const xkb_layout_index_t candidate : {layout, 0U, 1U, 2U, 3U}) {
        const xkb_keysym_t symbol = symbolOf(keymap, key, candidate);
        if (symbol != XKB_KEY_NoSymbol && symbol <= lastOfLatin1)
            return symbol == XKB_KEY_v;
    }
    return false;
}

unsigned layoutsOfV(xkb_keymap* keymap, xkb_keycode_t key) {
    unsigned layouts = 0;
    for (xkb_layout_index_t layout = 0; layout < layoutLimit; ++layout)
        layouts |= countsAsV(keymap, key, layout) ? 1U << layout : 0;
    return layouts;
}

bool isLock(xkb_keymap* keymap, xkb_keycode_t key) {
    const xkb_keysym_t symbol = symbolOf(keymap, key, 0);
    return symbol == XKB_KEY_Num_Lock || symbol == XKB_KEY_Scroll_Lock;
}

/// Caps Lock's modifier is fixed, the others are where their keys are.
std::set<std::uint16_t> lockModifiers(xcb_connection_t* connection, xkb_keymap* keymap) {
    std::set<std::uint16_t> locks{XCB_MOD_MASK_LOCK};
    const Owned<xcb_get_modifier_mapping_reply_t> mapping(
        xcb_get_modifier_mapping_reply(connection, xcb_get_modifier_mapping(connection), nullptr));
    if (mapping == nullptr)
        return locks;
    const xcb_keycode_t* const keys = xcb_get_modifier_mapping_keycodes(mapping.get());
    for (int i = 0; i < xcb_get_modifier_mapping_keycodes_length(mapping.get()); ++i) {
        if (isLock(keymap, keys[i]))
            locks.insert(static_cast<std::uint16_t>(1U << i / mapping->keycodes_per_modifier));
    }
    return locks;
}

} // namespace

PasteKeys::PasteKeys(xcb_connection_t* connection) {
    const Keymap keymap = keymapOf(connection);
    if (keymap == nullptr)
        return;
    for (xkb_keycode_t key = xkb_keymap_min_keycode(keymap.get());
         key <= xkb_keymap_max_keycode(keymap.get()); ++key) {
        if (const unsigned layouts = layoutsOfV(keymap.get(), key); layouts != 0)
            layoutsByKey_.emplace(static_cast<xcb_keycode_t>(key), layouts);
    }
    const std::set<std::uint16_t> locks = lockModifiers(connection, keymap.get());
    locks_.assign(locks.begin(), locks.end());
}

std::vector<PasteKeys::Chord> PasteKeys::chords() const {
    std::vector<std::uint16_t> modifiers{XCB_MOD_MASK_CONTROL};
    for (const std::uint16_t lock : locks_) {
        for (std::size_t i = modifiers.size(); i-- > 0;)
            modifiers.push_back(modifiers[i] | lock);
    }
    std::vector<Chord> chords;
    for (const auto& [key, layouts] : layoutsByKey_) {
        for (const std::uint16_t combination : modifiers)
            chords.push_back({key, combination});
    }
    return chords;
}

bool PasteKeys::isV(const xcb_key_press_event_t& press) const {
    const auto key = layoutsByKey_.find(press.detail);
    const unsigned layout = press.state >> 13U & 3U;
    return key != layoutsByKey_.end() && (key->second & 1U << layout) != 0;
}

} // namespace ternvault::x11

#pragma once

namespace ternvault::x11 {

/// Why the session's keys cannot be tapped.
enum class TapRefusal { none, waylandSession, noDisplay, noPasteKey, keyTaken };

} // namespace ternvault::x11

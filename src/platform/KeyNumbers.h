#pragma once

#include <cstdint>

/// Numbers of keyboard events, as the reference platform has them. Its Command key is Ctrl on a PC, its
/// Option key Alt, its Control key the one with the logo.
namespace ternvault {

namespace key_flags {
inline constexpr std::uint32_t capsLock = 0x10000;
inline constexpr std::uint32_t shift = 0x20000;
inline constexpr std::uint32_t control = 0x40000;
inline constexpr std::uint32_t option = 0x80000;
inline constexpr std::uint32_t command = 0x100000;
inline constexpr std::uint32_t chord = shift | control | option | command;
inline constexpr std::uint32_t deviceIndependent = 0xffff0000;
} // namespace key_flags

namespace event_types {
inline constexpr std::uint32_t keyDown = 10;
} // namespace event_types

/// Of the keys by their place on an ANSI keyboard.
namespace key_codes {
inline constexpr std::uint32_t v = 9;
} // namespace key_codes

} // namespace ternvault

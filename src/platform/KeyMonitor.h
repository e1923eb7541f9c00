#pragma once

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace ternvault {

/// Bits of `KeyDown::flags`, as the reference platform numbers them. Its Command key is Ctrl on a PC, its
/// Option key Alt, its Control key the one with the logo.
namespace key_flags {
inline constexpr std::uint32_t capsLock = 0x10000;
inline constexpr std::uint32_t shift = 0x20000;
inline constexpr std::uint32_t control = 0x40000;
inline constexpr std::uint32_t option = 0x80000;
inline constexpr std::uint32_t command = 0x100000;
inline constexpr std::uint32_t deviceIndependent = 0xffff0000;
} // namespace key_flags

/// A key that went down in this application. One that is held goes down once.
struct KeyDown {
    std::uint32_t flags = 0;
    /// Nothing for a key that types nothing.
    std::optional<QString> charactersIgnoringModifiers;
};

/// Tells of key presses in this application before any of its windows. Main thread.
class KeyMonitor {
public:
    /// Ends the monitor with its life.
    class Handle {
    public:
        virtual ~Handle() = default;
    };
    /// Whether the key was taken: then nobody else sees it.
    using Handler = std::function<bool(const KeyDown& key)>;

    virtual ~KeyMonitor() = default;

    /// Null where the platform gives none.
    virtual std::unique_ptr<Handle> addLocalMonitor(Handler handler) = 0;
};

} // namespace ternvault

#pragma once

#include "platform/KeyNumbers.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace ternvault {

/// A key that went down in this application. One that is held goes down once.
struct KeyDown {
    /// Bits of `key_flags`.
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

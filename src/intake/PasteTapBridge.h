#pragma once

#include "base/Lifetime.h"
#include "intake/PasteTarget.h"
#include "platform/EventTap.h"
#include "platform/FileManager.h"
#include "platform/FrontmostApplication.h"
#include "platform/Pasteboard.h"
#include "platform/ScriptHost.h"

#include <atomic>
#include <filesystem>
#include <functional>

namespace ternvault {

/// What the hooks of the whole process share.
struct PasteTapBridge {
    /// Once it is gone the hooks do nothing. Main thread.
    static inline WeakRef<PasteTarget> model;
    /// The event tap's thread has been started and has not given up.
    static inline std::atomic<bool> tapThreadStarted = false;

    /// What the callback decides by, on the tap's thread.
    struct Context {
        const Pasteboard& pasteboard;
        const FileManager& files;
        const FrontmostApplication& frontmost;
        ScriptHost& scripts;
        std::filesystem::path volumesRoot;
        /// Has the paste handed over on the main thread, with the folder that it was made in, without
        /// waiting.
        std::function<void(const std::filesystem::path& folder)> scheduleHandOver;
    };
    /// Swallows a paste of files into a folder on the volume, made in a file manager. It sees the whole
    /// session's keys, so it looks at nothing else before it knows the key.
    static void callback(const Context& context, const TappedEvent& event);
};

} // namespace ternvault

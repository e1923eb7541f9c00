#pragma once

#include "async/TaskScope.h"
#include "intake/PasteTapBridge.h"
#include "platform/AccessibilityPrompt.h"
#include "platform/EventTap.h"
#include "platform/KeyMonitor.h"
#include "platform/NotificationCenter.h"
#include "platform/Platform.h"

#include <filesystem>
#include <memory>

namespace ternvault {

/// The platform services that only taking pastes over needs.
struct PasteServices {
    KeyMonitor& keys;
    NotificationCenter& notifications;
    EventTap& eventTap;
    AccessibilityPrompt& accessibilityPrompt;
    // Used on the tap's thread:
    const Pasteboard& tapPasteboard;
    const FrontmostApplication& frontmost;
    ScriptHost& scripts;
};

/// Takes pastes over for the application's own queue: those made in its windows, those made in a file manager
/// that shows the volume, and those that other processes ask for by a notification. One per process; what it
/// is given outlives it.
class PasteHook {
public:
    PasteHook(const Platform& platform, const PasteServices& services, TaskScope& tasks);

    // Both may be called each time the window appears, and take effect once. Main thread.
    void installLocalMonitor();
    void installRemotePasteTrigger();

    /// Filters the session's keys on this thread, until the event tap is stopped. Where it cannot be created,
    /// tells the user once and leaves `PasteTapBridge::tapThreadStarted` false, so that the next appearance
    /// of the window tries again. On a thread of its own.
    void installFinderTap();

private:
    bool takes(const KeyDown& key);
    /// `folder`: where the paste was made; empty: in no folder.
    void handOver(const std::filesystem::path& folder = {});
    void promptForAccessibility();

    /// The prompt has been shown in this process. Main thread.
    static inline bool didPromptAccessibility = false;

    Pasteboard& pasteboard_;
    FileManager& files_;
    Activation& activation_;
    MainLoop& mainLoop_;
    UnifiedLog& log_;
    PasteServices services_;
    TaskScope& tasks_;
    PasteTapBridge::Context tapContext_;
    bool hasRemoteTrigger_ = false;
    std::unique_ptr<KeyMonitor::Handle> localMonitor_;
};

} // namespace ternvault

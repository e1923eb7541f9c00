#pragma once

#include "async/TaskScope.h"
#include "platform/KeyMonitor.h"
#include "platform/NotificationCenter.h"
#include "platform/Platform.h"

#include <memory>

namespace ternvault {

/// Takes pastes over for the application's own queue: those made in its windows, and those that other
/// processes ask for by a notification. One per process; what it is given outlives it. Main thread.
class PasteHook {
public:
    PasteHook(const Platform& platform, KeyMonitor& keys, NotificationCenter& notifications,
              TaskScope& tasks);

    // Both may be called each time the window appears, and take effect once.
    void installLocalMonitor();
    void installRemotePasteTrigger();

private:
    bool takes(const KeyDown& key);
    void handOver();

    Pasteboard& pasteboard_;
    FileManager& files_;
    Activation& activation_;
    KeyMonitor& keys_;
    NotificationCenter& notifications_;
    TaskScope& tasks_;
    bool hasRemoteTrigger_ = false;
    std::unique_ptr<KeyMonitor::Handle> localMonitor_;
};

} // namespace ternvault

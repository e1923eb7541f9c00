#pragma once

namespace ternvault {

/// Leads the user to what keeps keys of other applications from being taken.
class AccessibilityPrompt {
public:
    virtual ~AccessibilityPrompt() = default;

    /// Main thread. Does not wait.
    virtual void show() = 0;
};

} // namespace ternvault

#pragma once

#include "app/Notices.h"
#include "platform/AccessibilityPrompt.h"
#include "platform/linux/X11EventTap.h"

class QSettings;

namespace ternvault {

/// Says why pastes in file managers are not taken over, and what to do instead. That the session is a Wayland
/// one is said once for good: it is as it is. What it is given outlives it. Main thread.
class TapRefusalNotice final : public AccessibilityPrompt {
public:
    TapRefusalNotice(const X11EventTap& tap, Notices& notices, QSettings& desktopState)
        : tap_(tap), notices_(notices), desktopState_(desktopState) {}

    void show() override;
    /// However often it was said before, because the user asked for the tap.
    void tell();

private:
    const X11EventTap& tap_;
    Notices& notices_;
    QSettings& desktopState_;
};

} // namespace ternvault

#pragma once

#include "intake/PasteTarget.h"
#include "model/AppModel.h"
#include "platform/linux/DesktopNotification.h"

namespace ternvault {

/// Pastes through the model, and makes sure that the user hears of it: where no window of ours is active a
/// moment later, because all are closed or the desktop does not let them come forward, a notification says
/// what the model's status says. What it is given outlives it; its routines must end before it. Main thread.
class AnnouncedPaste final : public PasteTarget {
public:
    AnnouncedPaste(AppModel& model, MainLoop& mainLoop, DesktopNotification& notification)
        : model_(model), mainLoop_(mainLoop), notification_(notification) {}

    Task<> pasteFromClipboardInto(std::filesystem::path folder) override;

    /// For hooks that may outlive it, and then do nothing.
    WeakRef<PasteTarget> weak() const { return anchor_.weak(); }

private:
    LifetimeAnchor<AnnouncedPaste> anchor_{this};
    AppModel& model_;
    MainLoop& mainLoop_;
    DesktopNotification& notification_;
};

} // namespace ternvault

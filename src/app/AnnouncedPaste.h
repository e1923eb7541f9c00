#pragma once

#include "app/OutcomeNotice.h"
#include "intake/PasteTarget.h"
#include "model/AppModel.h"

namespace ternvault {

/// Pastes through the model, and makes sure that the user hears of what its status says then. What it is
/// given outlives it; its routines must end before it. Main thread.
class AnnouncedPaste final : public PasteTarget {
public:
    AnnouncedPaste(AppModel& model, MainLoop& mainLoop, DesktopNotification& notification)
        : model_(model), mainLoop_(mainLoop), notice_(mainLoop, notification) {}

    Task<> pasteFromClipboardInto(std::filesystem::path folder) override;

    /// For hooks that may outlive it, and then do nothing.
    WeakRef<PasteTarget> weak() const { return anchor_.weak(); }

private:
    LifetimeAnchor<AnnouncedPaste> anchor_{this};
    AppModel& model_;
    MainLoop& mainLoop_;
    OutcomeNotice notice_;
};

} // namespace ternvault

#pragma once

#include "base/Task.h"
#include "platform/MainLoop.h"
#include "platform/linux/DesktopNotification.h"

namespace ternvault {

/// Makes sure that the user hears of the outcome of something that is done without a screen: where no window
/// of ours is active a moment later, because all are closed or the desktop does not let them come forward, a
/// notification tells it. What it is given outlives it. Main thread.
class OutcomeNotice final {
public:
    OutcomeNotice(MainLoop& mainLoop, DesktopNotification& notification)
        : mainLoop_(mainLoop), notification_(notification) {}

    Task<> tell(QString outcome) const;

private:
    MainLoop& mainLoop_;
    DesktopNotification& notification_;
};

} // namespace ternvault

#pragma once

#include "app/OutcomeNotice.h"
#include "async/TaskScope.h"
#include "model/AppModel.h"

#include <QUrl>

#include <memory>
#include <vector>

namespace ternvault {

/// Hands files that the desktop opens with the application to the model, and makes sure that the user hears
/// of what becomes of them. What it is given outlives it; its routines must end before it. Main thread.
class OpenedFiles final {
public:
    OpenedFiles(AppModel& model, MainLoop& mainLoop, DesktopNotification& notification)
        : model_(model), notice_(mainLoop, notification) {}

    /// Each in a task of its own; the outcome is told once, when all are over.
    void open(const std::vector<QUrl>& urls, TaskScope& tasks);

private:
    /// Files that were opened together.
    struct Round {
        std::size_t count;
        std::size_t over = 0;
        std::size_t queued = 0;
    };

    Task<> take(QUrl url, std::shared_ptr<Round> round);
    QString outcome(const Round& round) const;

    AppModel& model_;
    OutcomeNotice notice_;
};

} // namespace ternvault

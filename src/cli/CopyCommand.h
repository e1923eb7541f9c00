#pragma once

#include "base/Task.h"
#include "cli/Terminal.h"
#include "model/AppModel.h"
#include "platform/MainLoop.h"
#include "platform/linux/Interrupts.h"

#include <filesystem>
#include <vector>

namespace ternvault::cli {

/// `copy PATH...`: queues the items, follows the queue to its end and tells every failure. A first interrupt
/// ends it after the item in flight.
class CopyCommand {
public:
    CopyCommand(AppModel& model, MainLoop& mainLoop);

    /// The exit status: success only when every one of the items was copied.
    Task<int> run(std::vector<std::filesystem::path> items);

private:
    Task<> untilIdle();
    void showChanges();
    void interrupt();

    AppModel& model_;
    MainLoop& mainLoop_;
    TransferManager& transfers_;
    ProgressLine progress_;
    QString shownStatus_;
    std::optional<QString> shownError_;
    std::optional<QString> shownNote_;
    bool interrupted_ = false;
    Interrupts interrupts_;
    Subscription watch_;
};

} // namespace ternvault::cli

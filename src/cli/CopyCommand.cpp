#include "cli/CopyCommand.h"

#include "async/Await.h"
#include "cli/ExitStatus.h"

#include <utility>

namespace ternvault::cli {

using namespace Qt::StringLiterals;

CopyCommand::CopyCommand(AppModel& model, MainLoop& mainLoop)
    : model_(model), mainLoop_(mainLoop), transfers_(model.transfers), shownStatus_(transfers_.statusLine),
      interrupts_([this] { interrupt(); }),
      watch_(transfers_.objectWillChange.subscribe([this] { showChanges(); })) {}

Task<int> CopyCommand::run(std::vector<std::filesystem::path> items) {
    const bool mounted = co_await model_.ensureMounted();
    const auto root = transfers_.resolveMountRoot(model_.selectedShare);
    if (!mounted || !root) {
        printError(model_.status);
        co_return failure;
    }
    if (interrupted_)
        co_return failure;
    transfers_.enqueue(items, *root);
    co_await untilIdle();
    progress_.clear();
    showChanges();
    const bool allCopied = transfers_.completedCount == static_cast<std::int64_t>(items.size());
    co_return allCopied ? success : failure;
}

Task<> CopyCommand::untilIdle() {
    while (!transfers_.isIdle()) {
        const WakeUp change;
        const Subscription watch = transfers_.objectWillChange.subscribe(
            [&mainLoop = mainLoop_, wake = change.waker()] { mainLoop.post(wake); });
        co_await change;
        // What nothing follows for long is to be seen, too.
        showChanges();
    }
}

/// Called before each change, so every value that was stored is seen once, however soon the next one follows.
void CopyCommand::showChanges() {
    if (*transfers_.lastError != shownError_ && transfers_.lastError->has_value()) {
        progress_.clear();
        printError(**transfers_.lastError);
    }
    shownError_ = *transfers_.lastError;
    if (*transfers_.waitingNote != shownNote_ && transfers_.waitingNote->has_value()) {
        progress_.clear();
        printError(**transfers_.waitingNote);
    }
    shownNote_ = *transfers_.waitingNote;
    if (*transfers_.statusLine != shownStatus_) {
        shownStatus_ = *transfers_.statusLine;
        if (!progress_.isShown() || transfers_.isIdle())
            printLine(shownStatus_);
    }
    progress_.show(transfers_.progressLabel() + u"  "_s + shownStatus_);
}

void CopyCommand::interrupt() {
    interrupted_ = true;
    if (transfers_.isTransferring)
        printError(u"Interrupted: ending after the item in flight; once more to leave at once"_s);
    transfers_.cancel();
}

} // namespace ternvault::cli

#include "async/Await.h"
#include "transfer/TransferManager.h"

#include <chrono>
#include <exception>
#include <system_error>
#include <utility>
#include <variant>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr int maxRetries = 4;
constexpr std::chrono::milliseconds retryPause(700);

/// One attempt: the number of bytes at the destination, or what went wrong.
using AttemptResult = std::variant<std::int64_t, QString>;

} // namespace

Task<> TransferManager::processLoop() {
    while (!cancelled_ && !queue_.empty()) {
        const Job job = std::move(queue_.front());
        queue_.pop_front();
        currentFileName = job.name();
        statusLine = u"Copying "_s + job.name() + u"…"_s;
        appendLog(statusLine);
        if (!platform_.files.exists(job.destRoot))
            co_await remount();
        if (co_await copyWithRetries(job))
            completedCount = completedCount + 1;
        else
            errorCount = errorCount + 1;
        co_await yieldToMainLoop(platform_.mainLoop);
    }
    --activeLoops_;
    running_ = false;
    currentFileName = QString();
    statusLine = finalStatus();
    appendLog(statusLine);
    isTransferring = false;
    releaseScoped();
}

QString TransferManager::finalStatus() const {
    if (cancelled_)
        return u"Cancelled — "_s + progressLabel();
    if (errorCount >= 1)
        return u"Finished with errors — "_s + progressLabel() + u". See Add Files status / transfer.log"_s;
    if (totalCount < 1)
        return u"Idle"_s;
    return u"Done — "_s + progressLabel() + u" copied by the app (not Finder)"_s;
}

Task<bool> TransferManager::copyWithRetries(Job job) {
    for (int attempt = 1; !cancelled_; ++attempt) {
        auto copy = [engines = engines_, &files = platform_.files, job]() -> AttemptResult {
            try {
                return copyOnce(engines, files, job);
            } catch (const std::exception& error) {
                return QString::fromUtf8(error.what());
            }
        };
        const AttemptResult result =
            co_await inBackground(platform_.background, platform_.mainLoop, Lane::utility, std::move(copy));
        if (const auto* const bytes = std::get_if<std::int64_t>(&result)) {
            appendLog(u"OK "_s + job.name() + u" ("_s + QString::number(*bytes) + u" bytes)"_s);
            co_return true;
        }
        const QString message = job.name() + u": "_s + std::get<QString>(result);
        logError(u"attempt "_s + QString::number(attempt) + u" failed: "_s + message);
        appendLog(u"FAIL attempt "_s + QString::number(attempt) + u": "_s + message);
        lastError = message;
        if (attempt == maxRetries) {
            logFailure(message);
            co_return false;
        }
        co_await remount();
        co_await sleepFor(platform_.mainLoop, attempt * retryPause);
    }
    co_return false;
}

/// Runs on the background thread. A copy program that reports success proves nothing when the volume was not
/// there throughout: its directory may have taken the files instead.
std::int64_t TransferManager::copyOnce(const CopyEngines& engines, const FileManager& files, const Job& job) {
    const std::optional<VolumeIdentity> before = files.volumeIdentity(job.destRoot);
    if (!before)
        throw std::system_error(ENODEV, std::generic_category(), "The volume is not mounted");
    const std::int64_t bytes = engines.rsyncCopy(job.source, job.destination(), job.isDirectory);
    if (files.volumeIdentity(job.destRoot) != before)
        throw std::system_error(ENODEV, std::generic_category(), "The volume went away during the copy");
    return bytes;
}

Task<> TransferManager::remount() {
    if (VolumeHost* const host = appModel.get())
        co_await host->ensureMounted();
}

void TransferManager::logFailure(const QString& message) {
    logError(message);
    lastError = message;
    appendLog(u"ERROR "_s + message);
}

void TransferManager::logError(const QString& message) {
    platform_.log.error(u"space.larkspur.ternvault"_s, u"transfer"_s, message);
}

} // namespace ternvault

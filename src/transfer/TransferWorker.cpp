#include "async/Await.h"
#include "transfer/CopyEngines.h"
#include "transfer/TransferError.h"
#include "transfer/TransferManager.h"

#include <chrono>
#include <exception>
#include <system_error>
#include <utility>
#include <variant>

namespace ternvault {

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

constexpr int maxRetries = 4;
constexpr std::chrono::milliseconds retryPause(700);

/// How long an attempt waits for its turn before it looks whether it was cancelled.
constexpr std::chrono::milliseconds turnPatience(250);

/// One attempt: the number of bytes at the destination, none while it is somebody else's turn, or what went
/// wrong.
using AttemptResult = std::variant<std::optional<std::int64_t>, QString>;

const QString& othersTurn() {
    static const QString text = u"Another copy onto this volume is under way; waiting for it to end"_s;
    return text;
}

[[noreturn]] void refuseWay(const fs::path& part, const QString& reason) {
    const QString name = part == "." ? u"The volume"_s : QString::fromStdString(part.string());
    throw TransferError(TransferError::refused, name + u": "_s + reason);
}

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
    for (int attempt = 1; !cancelled_;) {
        // The services outlive the model, whose record of them this may outlive.
        auto copy = [platform = platform_, job]() -> AttemptResult {
            try {
                return job.copy(platform);
            } catch (const std::exception& error) {
                return QString::fromUtf8(error.what());
            }
        };
        const AttemptResult result =
            co_await inBackground(platform_.background, platform_.mainLoop, Lane::utility, std::move(copy));
        const auto* const bytes = std::get_if<std::optional<std::int64_t>>(&result);
        const bool waits = bytes != nullptr && !*bytes;
        noteWaiting(waits && !cancelled_);
        if (waits)
            continue;
        if (bytes != nullptr) {
            appendLog(u"OK "_s + job.name() + u" ("_s + QString::number(**bytes) + u" bytes)"_s);
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
        ++attempt;
    }
    co_return false;
}

void TransferManager::noteWaiting(bool waits) {
    if (waits != waitingNote->has_value())
        waitingNote = waits ? std::optional(othersTurn()) : std::nullopt;
}

/// A copy program that reports success proves nothing when the volume was not there throughout: its directory
/// may have taken the files instead.
std::optional<std::int64_t> TransferManager::Job::copy(const Platform& platform) const {
    const std::optional<FileDescriptor> turn = platform.copyTurns.take(destRoot, turnPatience);
    if (!turn)
        return std::nullopt;
    const FileManager& files = platform.files;
    const std::optional<VolumeIdentity> before = files.volumeIdentity(destRoot);
    if (!before)
        throw std::system_error(ENODEV, std::generic_category(), "The volume is not mounted");
    requireWay(files, *before);
    const CopyEngines engines(platform.files, platform.processes, &*turn);
    const std::int64_t bytes = engines.rsyncCopy(source, destination(), isDirectory);
    if (files.volumeIdentity(destRoot) != before)
        throw std::system_error(ENODEV, std::generic_category(), "The volume went away during the copy");
    requireWay(files, *before);
    return bytes;
}

/// No link decides where bytes go. One in a file's own place is replaced.
void TransferManager::Job::requireWay(const FileManager& files, const VolumeIdentity& volume) const {
    const auto require = [&](const fs::path& part) {
        const EntryKind kind = files.kindOnVolume(volume, part);
        if (kind == EntryKind::link || kind == EntryKind::elsewhere)
            refuseWay(part, kind == EntryKind::link ? u"a link is in the way"_s
                                                    : u"something else is mounted there"_s);
        return kind;
    };
    if (fs::path(relativePath).is_absolute())
        refuseWay(relativePath, u"the whole file system cannot be copied"_s);
    require(".");
    if (!folder.empty() && require(folder) == EntryKind::none)
        refuseWay(folder, u"the folder is not there any more"_s);
    if (isDirectory)
        require(folder / relativePath);
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

#pragma once

#include "async/EscapeReport.h"
#include "async/TaskScope.h"
#include "base/Lifetime.h"
#include "base/ObservableObject.h"
#include "mount/VolumeTable.h"
#include "platform/Platform.h"
#include "transfer/TransferLog.h"
#include "transfer/VolumeHost.h"

#include <QString>

#include <cstdint>
#include <deque>
#include <filesystem>
#include <optional>
#include <vector>

namespace ternvault {

/// The application's own copy queue onto the mounted volume: one job per item, copied one after the other in
/// the background, each in up to four attempts. Main thread only.
class TransferManager : public ObservableObject {
public:
    explicit TransferManager(const Platform& platform);

    /// A worker has been started and has neither finished nor been cancelled.
    Published<bool> isTransferring;
    /// Name of the item being copied; empty when idle.
    Published<QString> currentFileName;
    /// Jobs since the last reset: copied, queued, failed in all attempts.
    Published<std::int64_t> completedCount;
    Published<std::int64_t> totalCount;
    Published<std::int64_t> errorCount;
    /// The latest failure or refusal.
    Published<std::optional<QString>> lastError;
    /// State of the queue in one line.
    Published<QString> statusLine;
    /// What the copy that is next has to wait for; beside the status.
    Published<std::optional<QString>> waitingNote;

    /// Mounts on demand and knows the share; set by the application model.
    WeakRef<VolumeHost> appModel;

    /// The mounted volume; nothing when none is there.
    std::optional<std::filesystem::path> resolveMountRoot(const QString& preferredShare) const;

    /// Queues items against a known volume root and starts the worker. Items that are missing, and system
    /// folders, are reported and left out; they do not count as errors. They go into `folder`, a relative
    /// path below the root, which has to be there when they are copied; empty: the root itself.
    void enqueue(const std::vector<std::filesystem::path>& urls, const std::filesystem::path& destRoot,
                 const std::filesystem::path& folder = {});
    /// Finds the volume, mounting it if needed, and queues the items. Returns at once.
    void enqueue(std::vector<std::filesystem::path> urls);
    /// Lets the user choose files and folders and queues them. Returns at once.
    void pickAndEnqueueFiles();
    /// Empties the queue. The copy in flight runs on to its end and is still counted.
    void cancel();
    /// Clears counters and texts; does nothing while transferring.
    void resetCounters();
    /// For example "3/5" or "4/5 · 1 error(s)".
    QString progressLabel() const;

    /// Items that wait for their turn, and the names of the first of them.
    std::size_t waitingCount() const { return queue_.size(); }
    std::vector<QString> waitingNames(std::size_t most) const;

    /// No worker loop is left, not even one that a cancel left with a copy in flight.
    bool isIdle() const { return activeLoops_ == 0; }

    const std::optional<std::filesystem::path>& logFile() const { return transferLog_.file(); }

private:
    struct Job {
        std::filesystem::path source;
        std::filesystem::path destRoot;
        /// Below the root; empty for the root itself.
        std::filesystem::path folder;
        /// Last path component of the source.
        std::string relativePath;
        bool isDirectory = false;

        QString name() const;
        std::filesystem::path destination() const;
        /// The attempt itself, on the background thread: nothing while it is somebody else's turn, or the
        /// number of bytes at the destination. Throws std::exception.
        std::optional<std::int64_t> copy(const Platform& platform) const;
        /// Throws TransferError when the way to the destination is none, or leads off the volume.
        void requireWay(const FileManager& files, const VolumeIdentity& volume) const;
    };

    Task<> enqueueMounting(std::vector<std::filesystem::path> urls);
    void refuse(const QString& error, const QString& status);
    std::optional<Job> makeJob(const std::filesystem::path& url, const std::filesystem::path& destRoot,
                               const std::filesystem::path& folder);
    void beginScoped(const std::vector<std::filesystem::path>& urls);
    void releaseScoped();
    void startIfNeeded();

    Task<> processLoop();
    QString finalStatus() const;
    Task<bool> copyWithRetries(Job job);
    void noteWaiting(bool waits);
    Task<> remount();
    void logFailure(const QString& message);
    void appendLog(const QString& text) { transferLog_.append(text); }
    void logError(const QString& message);

    LifetimeAnchor<TransferManager> anchor_{this};
    const Platform& platform_;
    VolumeTable volumes_;
    TransferLog transferLog_;
    std::deque<Job> queue_;
    /// A worker loop is active.
    bool running_ = false;
    /// Loops not yet at their end; after a cancel and a new start there may be two.
    int activeLoops_ = 0;
    /// Set by a cancel, cleared by the next enqueue against a known root.
    bool cancelled_ = false;
    std::vector<std::filesystem::path> scopedURLs_;
    TaskScope tasks_;
};

} // namespace ternvault

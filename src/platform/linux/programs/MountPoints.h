#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <sys/types.h>

/// The directories that mounting makes under the volumes root, and the record of them that survives a kill or
/// a power cut. Free of Qt: the volume daemon uses it too. Failures are std::filesystem::filesystem_error
/// with the path that could not be used. Any thread, any process.
namespace ternvault {

/// A process named so that another one which got the same number later is never taken for it.
struct ProcessIdentity {
    pid_t pid = 0;
    /// Start time in clock ticks since boot, from proc(5).
    std::uint64_t startTime = 0;

    /// Of a process that is alive.
    static ProcessIdentity of(pid_t pid);
    /// False for one that ended and that its parent has not asked about yet.
    bool isAlive() const;
    /// Whether a signal keeps it from running.
    bool isStopped() const;
    /// If the process is still the one meant.
    void signal(int number) const;
    /// False when it is still alive after `patience`.
    bool awaitEnd(std::chrono::milliseconds patience) const;
};

/// What is written down before a directory is made, and removed after the directory is gone.
struct MountRecord {
    std::filesystem::path mountPoint;
    ProcessIdentity keeper;
    ProcessIdentity daemon;
};

/// The file `suffix` tells the kind of, in the state folder, about one mount point.
std::filesystem::path mountStateFile(const std::filesystem::path& state,
                                     const std::filesystem::path& mountPoint, const std::string& suffix);

void writeMountRecord(const std::filesystem::path& state, const MountRecord& record);
void removeMountRecord(const std::filesystem::path& state, const std::filesystem::path& mountPoint);
/// Nothing when there is no record, or a damaged one. One from before the last boot names no processes.
std::optional<MountRecord> readMountRecord(const std::filesystem::path& state,
                                           const std::filesystem::path& mountPoint);

/// Held by whoever mounts on, or cleans up, one mount point. The lock belongs to the open file: child
/// processes share it, and it ends when the last of them closes it.
class MountLock {
public:
    /// Waits at most `patience`; nothing when somebody else holds the lock for longer.
    static std::optional<MountLock> acquire(const std::filesystem::path& state,
                                            const std::filesystem::path& mountPoint,
                                            std::chrono::milliseconds patience);
    MountLock(MountLock&& other) noexcept;
    MountLock& operator=(MountLock&&) = delete;
    ~MountLock();

private:
    explicit MountLock(int descriptor) : descriptor_(descriptor) {}
    int descriptor_;
};

/// Whether an entry is there, of whatever kind. Never waits for the program behind a mount.
bool hasEntry(const std::filesystem::path& path);
/// Whether something is mounted exactly there. Never waits for the program behind the mount.
bool isMountPoint(const std::filesystem::path& path);
/// Whether a volume of ours is mounted there, dead or alive.
bool isVolumeMount(const std::filesystem::path& path);
/// Whether `path` is the directory of a volume that is not mounted now: a directory of this user that nobody
/// may list. Mounting makes it so, and leaves it so below the mount. Never waits.
bool isPlaceholder(const std::filesystem::path& path);
/// The same, from its type, mode, owner and attributes.
bool isPlaceholder(const struct statx& status);
/// Whether the record tells that what stands at `mountPoint` is no volume: its daemon is gone, or the
/// directory is left over from a mount. Never waits.
bool isKnownAsNoVolume(const std::filesystem::path& state, const std::filesystem::path& mountPoint);

/// Takes the mount away. `lazily`: also while it is in use; it vanishes from the tree at once.
/// Returns 0 or the reason as errno (EBUSY when in use).
int unmount(const std::filesystem::path& mountPoint, bool lazily);
/// Lazily takes every mount of ours away from `mountPoint`, then removes the directory if it is ours and
/// empty, its name from the root's list of hidden names, and the record. A directory with files in it stays,
/// closed to everybody unless its user opened it, and so does its record.
void removeMountPoint(const std::filesystem::path& state, const std::filesystem::path& mountPoint);

/// Takes the volume out of the tree at once, asks its daemon to put what was written on the server and to
/// end, and ends it by force after `patience`, as well as a keeper that does not end with it; then
/// removeMountPoint(). The caller holds the MountLock, so that nothing of it touches a later mount.
void endVolume(const std::filesystem::path& state, const std::filesystem::path& mountPoint,
               std::chrono::milliseconds patience);

/// Waits a few seconds for the keeper of an unmounted volume to remove its directory; false when it did not.
bool awaitRemoval(const std::filesystem::path& mountPoint);

/// Removes what ended mounts left directly under `root`: dead mounts, stopped daemons and empty directories,
/// as far as they are in the record and nobody looks after them any more. Leaves everything else alone.
/// Errors of single entries are skipped.
void reapLeftovers(const std::filesystem::path& root, const std::filesystem::path& state);

} // namespace ternvault

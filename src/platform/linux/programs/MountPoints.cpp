#include "platform/linux/programs/MountPoints.h"

#include "base/FileDescriptor.h"
#include "base/FileLocking.h"
#include "platform/linux/programs/HiddenList.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <sstream>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <mntent.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

// This header of glibc 2.36 does not say so itself.
extern "C" {
#include <sys/pidfd.h>
}

namespace ternvault {
namespace {

namespace fs = std::filesystem;

constexpr auto volumeType = "fuse.ternvault";
constexpr auto recordSuffix = ".mount";
constexpr mode_t anybodyLists = 0444;

[[noreturn]] void fail(int error, const fs::path& path) {
    throw fs::filesystem_error("mount records", path, {error, std::generic_category()});
}

struct ProcessStatus {
    char state = '?';
    std::uint64_t startTime = 0;
};

/// Nothing when there is no such process. One that cannot be looked at is in state '?'.
std::optional<ProcessStatus> statusOf(pid_t pid) {
    const FileDescriptor file(
        ::open(("/proc/" + std::to_string(pid) + "/stat").c_str(), O_RDONLY | O_CLOEXEC));
    if (!file && errno != ENOENT)
        return ProcessStatus{};
    char buffer[1024];
    const auto size = file ? ::read(file.get(), buffer, sizeof buffer) : 0;
    if (size <= 0)
        return {};
    // The program's name, in parentheses, may hold blanks and parentheses.
    const std::string line(buffer, static_cast<std::size_t>(size));
    std::istringstream fields(line.substr(line.rfind(')') + 1));
    ProcessStatus status;
    fields >> status.state;
    constexpr int stateField = 3, startTimeField = 22;
    std::string skipped;
    for (int i = stateField + 1; i < startTimeField; ++i)
        fields >> skipped;
    fields >> status.startTime;
    return status;
}

std::string bootId() {
    std::string id;
    std::getline(std::ifstream("/proc/sys/kernel/random/boot_id"), id);
    return id;
}

/// One file name per mount point: the path with its separators, and the escape itself, escaped.
std::string keyOf(const fs::path& mountPoint) {
    std::string key;
    for (const char c : mountPoint.lexically_normal().string())
        key += c == '/' ? std::string("%2F") : c == '%' ? std::string("%25") : std::string(1, c);
    return key;
}

fs::path recordFile(const fs::path& state, const fs::path& mountPoint) {
    return mountStateFile(state, mountPoint, recordSuffix);
}

void syncDirectory(const fs::path& directory) {
    const int fd = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return;
    ::fsync(fd);
    ::close(fd);
}

void replaceFile(const fs::path& file, const std::string& text) {
    const fs::path fresh = file.string() + ".new";
    const FileDescriptor opened(::open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (!opened)
        fail(errno, fresh);
    errno = EIO;
    if (::write(opened.get(), text.data(), text.size()) != ssize_t(text.size()) || ::fsync(opened.get()) != 0)
        fail(errno, fresh);
    fs::rename(fresh, file);
    syncDirectory(file.parent_path());
}

std::optional<MountRecord> parseRecord(const fs::path& file) {
    std::ifstream in(file);
    std::string boot;
    MountRecord record;
    std::string path;
    in >> boot >> record.keeper.pid >> record.keeper.startTime >> record.daemon.pid >>
        record.daemon.startTime;
    if (!in.ignore(1) || !std::getline(in, path, '\0'))
        return {};
    record.mountPoint = path;
    if (boot != bootId())
        record.keeper = record.daemon = {};
    return record;
}

/// fusermount3 is set-uid root: the way to unmount for those who are not root.
int runFusermount(const fs::path& mountPoint, bool lazily) {
    std::vector<std::string> words{"fusermount3", "-q", "-u"};
    if (lazily)
        words.emplace_back("-z");
    words.push_back(mountPoint.string());
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (auto& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    pid_t child = 0;
    if (const int error =
            ::posix_spawnp(&child, words[0].c_str(), nullptr, nullptr, arguments.data(), environ))
        return error;
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 0 : EBUSY;
}

/// 0 or the reason as errno.
int removeEmpty(const fs::path& directory) {
    return ::rmdir(directory.c_str()) == 0 ? 0 : errno;
}

/// 0 or the reason as errno. The folder's list of hidden names is held meanwhile, so that nobody hides a name
/// that is just going.
int removeDirectory(const fs::path& mountPoint) {
    int error = 0;
    try {
        HiddenList hidden(mountPoint.parent_path(), std::chrono::seconds(1));
        // Before the directory, whose end tells those who wait that nothing is left.
        const bool wasHidden = hidden.remove(mountPoint.filename());
        error = removeEmpty(mountPoint);
        if (error != 0 && wasHidden)
            hidden.add(mountPoint.filename());
    } catch (const std::system_error&) {
        // A name too many in the list does no harm.
        error = removeEmpty(mountPoint);
    }
    return error;
}

/// Without a keeper nobody ends a daemon that does not run.
bool isAbandoned(const MountRecord& record) {
    return !record.keeper.isAlive() && (!record.daemon.isAlive() || record.daemon.isStopped());
}

/// Of the ones recorded in `state`.
std::vector<fs::path> mountPointsBelow(const fs::path& root, const fs::path& state) {
    std::error_code ignored;
    const auto wantedRoot = fs::weakly_canonical(root, ignored);
    std::vector<fs::path> found;
    for (const auto& file : fs::directory_iterator(state, ignored)) {
        if (file.path().extension() != recordSuffix)
            continue;
        const auto record = parseRecord(file.path());
        if (record && fs::weakly_canonical(record->mountPoint.parent_path(), ignored) == wantedRoot)
            found.push_back(record->mountPoint);
    }
    return found;
}

void reap(const fs::path& mountPoint, const fs::path& state) {
    const auto lock = MountLock::acquire(state, mountPoint, std::chrono::milliseconds(0));
    const auto record = lock ? readMountRecord(state, mountPoint) : std::nullopt;
    if (record && isAbandoned(*record))
        endVolume(state, mountPoint, std::chrono::milliseconds(0));
}

} // namespace

ProcessIdentity ProcessIdentity::of(pid_t pid) {
    return {pid, statusOf(pid).value_or(ProcessStatus{}).startTime};
}

bool ProcessIdentity::isAlive() const {
    const auto status = pid > 0 ? statusOf(pid) : std::nullopt;
    if (!status || status->state == 'Z' || status->state == 'X')
        return false;
    return status->state == '?' || status->startTime == startTime;
}

bool ProcessIdentity::isStopped() const {
    const auto status = pid > 0 ? statusOf(pid) : std::nullopt;
    return status && status->startTime == startTime && (status->state == 'T' || status->state == 't');
}

void ProcessIdentity::signal(int number) const {
    const FileDescriptor process(pid > 0 ? ::pidfd_open(pid, 0) : -1);
    if (process && isAlive())
        ::pidfd_send_signal(process.get(), number, nullptr, 0);
}

bool ProcessIdentity::awaitEnd(std::chrono::milliseconds patience) const {
    const FileDescriptor process(pid > 0 ? ::pidfd_open(pid, 0) : -1);
    if (!process || !isAlive())
        return true;
    pollfd ended{process.get(), POLLIN, 0};
    return ::poll(&ended, 1, static_cast<int>(patience.count())) != 0;
}

fs::path mountStateFile(const fs::path& state, const fs::path& mountPoint, const std::string& suffix) {
    return state / (keyOf(mountPoint) + suffix);
}

void writeMountRecord(const fs::path& state, const MountRecord& record) {
    std::ostringstream text;
    text << bootId() << ' ' << record.keeper.pid << ' ' << record.keeper.startTime << ' ' << record.daemon.pid
         << ' ' << record.daemon.startTime << '\n'
         << record.mountPoint.string();
    replaceFile(recordFile(state, record.mountPoint), text.str());
}

void removeMountRecord(const fs::path& state, const fs::path& mountPoint) {
    std::error_code ignored;
    fs::remove(recordFile(state, mountPoint), ignored);
}

std::optional<MountRecord> readMountRecord(const fs::path& state, const fs::path& mountPoint) {
    return parseRecord(recordFile(state, mountPoint));
}

std::optional<MountLock> MountLock::acquire(const fs::path& state, const fs::path& mountPoint,
                                            std::chrono::milliseconds patience) {
    const auto file = mountStateFile(state, mountPoint, ".lock");
    const int fd = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0)
        fail(errno, file);
    MountLock lock(fd);
    const std::error_code error = lockExclusively(fd, patience);
    if (error == std::errc::timed_out)
        return {};
    if (error)
        fail(error.value(), file);
    return lock;
}

MountLock::MountLock(MountLock&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

MountLock::~MountLock() {
    if (descriptor_ >= 0)
        ::close(descriptor_);
}

bool hasEntry(const fs::path& path) {
    struct statx status {};
    return ::statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW | AT_STATX_DONT_SYNC, STATX_TYPE, &status) ==
               0 ||
           errno != ENOENT;
}

bool isMountPoint(const fs::path& path) {
    struct statx status {};
    if (::statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW | AT_STATX_DONT_SYNC, STATX_TYPE, &status) == 0)
        return (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
    return errno == ENOTCONN;
}

bool isVolumeMount(const fs::path& path) {
    constexpr auto tablePath = "/proc/self/mounts";
    FILE* table = ::setmntent(tablePath, "re");
    if (!table)
        fail(errno, tablePath);
    bool found = false;
    mntent entry{};
    std::array<char, 16384> buffer{};
    while (!found && ::getmntent_r(table, &entry, buffer.data(), static_cast<int>(buffer.size())))
        found = path == entry.mnt_dir && std::string_view(entry.mnt_type) == volumeType;
    ::endmntent(table);
    return found;
}

bool isPlaceholder(const fs::path& path) {
    struct statx status {};
    constexpr auto wanted = STATX_TYPE | STATX_MODE | STATX_UID;
    if (::statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW | AT_STATX_DONT_SYNC, wanted, &status) != 0)
        return false;
    return isPlaceholder(status);
}

bool isPlaceholder(const struct statx& status) {
    return S_ISDIR(status.stx_mode) && (status.stx_mode & anybodyLists) == 0 &&
           status.stx_uid == ::geteuid() && (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) == 0;
}

bool isKnownAsNoVolume(const fs::path& state, const fs::path& mountPoint) {
    const auto record = readMountRecord(state, mountPoint);
    if (!record)
        return false;
    return !isMountPoint(mountPoint) || (record->daemon.pid > 0 && !record->daemon.isAlive());
}

int unmount(const fs::path& mountPoint, bool lazily) {
    if (::geteuid() != 0)
        return runFusermount(mountPoint, lazily);
    return ::umount2(mountPoint.c_str(), UMOUNT_NOFOLLOW | (lazily ? MNT_DETACH : 0)) == 0 ? 0 : errno;
}

void removeMountPoint(const fs::path& state, const fs::path& mountPoint) {
    constexpr int mountsAtMost = 8;
    for (int i = 0; i < mountsAtMost && isVolumeMount(mountPoint); ++i)
        unmount(mountPoint, true);
    if (!fs::exists(recordFile(state, mountPoint)) && !isPlaceholder(mountPoint))
        return;
    const int error = removeDirectory(mountPoint);
    if (error == 0 || error == ENOENT || error == ENOTDIR)
        removeMountRecord(state, mountPoint);
    else if (isPlaceholder(mountPoint)) // and not one that its user opened to move the files out
        ::chmod(mountPoint.c_str(), 0);
}

void endVolume(const fs::path& state, const fs::path& mountPoint, std::chrono::milliseconds patience) {
    constexpr std::chrono::seconds killedPatience{1};
    if (isVolumeMount(mountPoint))
        unmount(mountPoint, true);
    if (const auto record = readMountRecord(state, mountPoint)) {
        record->daemon.signal(SIGTERM);
        if (!record->daemon.awaitEnd(patience))
            record->daemon.signal(SIGKILL);
        record->daemon.awaitEnd(killedPatience);
        if (!record->keeper.awaitEnd(killedPatience))
            record->keeper.signal(SIGKILL);
        record->keeper.awaitEnd(killedPatience);
    }
    removeMountPoint(state, mountPoint);
}

bool awaitRemoval(const fs::path& mountPoint) {
    constexpr std::chrono::seconds patience{3};
    const auto end = std::chrono::steady_clock::now() + patience;
    while (hasEntry(mountPoint)) {
        if (std::chrono::steady_clock::now() >= end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

void reapLeftovers(const fs::path& root, const fs::path& state) {
    for (const auto& mountPoint : mountPointsBelow(root, state)) {
        try {
            reap(mountPoint, state);
        } catch (const std::system_error&) {
            // The next start or mount tries again.
        }
    }
}

} // namespace ternvault

#include "platform/linux/LinuxFileManager.h"

#include "base/FileDescriptor.h"
#include "platform/linux/programs/MountPoints.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

namespace ternvault {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail(int error, const fs::path& path) {
    throw std::system_error(error, std::generic_category(), path.native());
}

/// What the kernel knows about an entry without asking a file system's daemon.
std::optional<struct statx> cachedStatus(int directory, const fs::path& path, int flags = 0) {
    struct statx status {};
    constexpr unsigned mask = STATX_TYPE | STATX_MODE | STATX_UID | STATX_INO | STATX_MNT_ID;
    if (::statx(directory, path.c_str(), AT_STATX_DONT_SYNC | flags, mask, &status) != 0)
        return std::nullopt;
    return status;
}

bool isSameEntry(const struct statx& one, const struct statx& other) {
    return one.stx_ino == other.stx_ino && one.stx_dev_major == other.stx_dev_major &&
           one.stx_dev_minor == other.stx_dev_minor;
}

fs::path withoutTrailingSlash(const fs::path& path) {
    return path.has_filename() ? path : path.parent_path();
}

} // namespace

LinuxFileManager::LinuxFileManager(const fs::path& volumesRoot, NoVolumeTest isNoVolume)
    : volumesRoot_(withoutTrailingSlash(volumesRoot.lexically_normal())), isNoVolume_(std::move(isNoVolume)) {
}

bool LinuxFileManager::exists(const fs::path& path) const {
    return statusOf(path).has_value();
}

bool LinuxFileManager::isDirectory(const fs::path& path) const {
    const auto status = statusOf(path);
    return status && S_ISDIR(status->stx_mode);
}

/// The kernel goes on answering for the root of a volume whose daemon is gone, from what it remembers.
std::optional<struct statx> LinuxFileManager::statusOf(const fs::path& path) const {
    const auto status = cachedStatus(AT_FDCWD, path);
    if (status && isBelowVolumesRoot(path) &&
        (isPlaceholder(*status) || isNoVolume_(withoutTrailingSlash(path))))
        return std::nullopt;
    return status;
}

bool LinuxFileManager::isBelowVolumesRoot(const fs::path& path) const {
    const auto parent = cachedStatus(AT_FDCWD, withoutTrailingSlash(path).parent_path());
    return parent && isVolumesRoot(*parent);
}

bool LinuxFileManager::isVolumesRoot(const struct statx& directory) const {
    const auto root = cachedStatus(AT_FDCWD, volumesRoot_);
    return root && isSameEntry(*root, directory);
}

void LinuxFileManager::createDirectories(const fs::path& path) {
    const fs::path target = withoutTrailingSlash(fs::absolute(path));
    if (isDirectory(target))
        return;
    if (target.has_relative_path())
        createDirectories(target.parent_path());
    createDirectory(target);
}

// The parent is opened and compared by identity, so that no spelling of its path and no rename in between
// gets round the refusal.
void LinuxFileManager::createDirectory(const fs::path& path) const {
    const FileDescriptor parent(::open(path.parent_path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!parent)
        fail(errno, path.parent_path());
    const auto status = cachedStatus(parent.get(), {}, AT_EMPTY_PATH);
    if (!status)
        fail(errno, path.parent_path());
    if (isVolumesRoot(*status) || path.lexically_normal() == volumesRoot_)
        fail(ENOENT, path);
    if (::mkdirat(parent.get(), path.filename().c_str(), 0777) == 0)
        return;
    const int error = errno;
    if (error != EEXIST || !isDirectory(path))
        fail(error, path);
}

void LinuxFileManager::write(const fs::path& file, std::string_view content) {
    const FileDescriptor descriptor(::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (!descriptor)
        fail(errno, file);
    while (!content.empty()) {
        const ssize_t written = ::write(descriptor.get(), content.data(), content.size());
        if (written < 0 && errno != EINTR)
            fail(errno, file);
        content.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
    }
}

void LinuxFileManager::remove(const fs::path& path) {
    if (fs::remove_all(path) == 0)
        fail(ENOENT, path);
}

/// A sync of what was opened for reading does this on our volumes (volume/Volume.h).
void LinuxFileManager::revalidate(const fs::path& item) const {
    const FileDescriptor opened(::open(item.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (opened)
        ::fsync(opened.get());
}

std::optional<VolumeIdentity> LinuxFileManager::volumeIdentity(const fs::path& root) const {
    if (!statusOf(root))
        return std::nullopt;
    const auto pin = std::make_shared<FileDescriptor>(::open(root.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    const auto status = cachedStatus(pin->get(), {}, AT_EMPTY_PATH);
    if (!*pin || !status)
        return std::nullopt;
    if (isPlaceholder(*status) && isBelowVolumesRoot(root))
        return std::nullopt;
    return VolumeIdentity{makedev(status->stx_dev_major, status->stx_dev_minor), status->stx_mnt_id, pin};
}

EntryKind LinuxFileManager::kindOnVolume(const VolumeIdentity& volume, const fs::path& item) const {
    const int root = static_cast<const FileDescriptor*>(volume.pin.get())->get();
    const auto rootStatus = cachedStatus(root, {}, AT_EMPTY_PATH);
    if (rootStatus && S_ISLNK(rootStatus->stx_mode))
        return EntryKind::link;
    open_how how{};
    how.flags = O_PATH | O_NOFOLLOW | O_CLOEXEC;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_XDEV;
    // glibc 2.36 has no function for it.
    const FileDescriptor entry(
        static_cast<int>(::syscall(SYS_openat2, root, item.c_str(), &how, sizeof how)));
    if (!entry && errno == ENOENT)
        return EntryKind::none;
    if (!entry && errno == ELOOP)
        return EntryKind::link;
    if (!entry && errno == EXDEV)
        return EntryKind::elsewhere;
    const auto status = entry ? cachedStatus(entry.get(), {}, AT_EMPTY_PATH) : std::nullopt;
    if (!status)
        fail(errno, item);
    return S_ISLNK(status->stx_mode) ? EntryKind::link : EntryKind::onVolume;
}

} // namespace ternvault

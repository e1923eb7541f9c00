#include "platform/linux/programs/FileCopy.h"

#include "base/FileState.h"
#include "base/UnfinishedTime.h"

#include <fcntl.h>
#include <linux/limits.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace ternvault {

namespace fs = std::filesystem;

namespace {

/// Large enough that the cost of a call vanishes beside that of the data.
constexpr std::size_t blockSize = 1 << 20;

/// An open file or folder and the name it goes by in an error.
struct Opened {
    FileDescriptor descriptor;
    fs::path path;
    struct stat status {};
};

[[noreturn]] void fail(const fs::path& path, int error = errno) {
    throw std::system_error(error, std::generic_category(), path.native());
}

void check(ssize_t result, const fs::path& path) {
    if (result < 0)
        fail(path);
}

/// For what a file system may not have. What it has and refuses is an error.
void checkIfSupported(ssize_t result, const fs::path& path) {
    if (result < 0 && errno != ENOTSUP && errno != ENOSYS)
        fail(path);
}

// Not blocking, for the case that a pipe has taken the file's place.
Opened openSource(const fs::path& path, int flags, mode_t type) {
    Opened source{
        FileDescriptor(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | flags)),
        path,
        {}};
    check(source.descriptor.get(), path);
    check(::fstat(source.descriptor.get(), &source.status), path);
    if ((source.status.st_mode & S_IFMT) != type)
        throw std::runtime_error(path.native() + ": Became something else while it was copied");
    return source;
}

/// Makes way for an entry of that name. A link goes, not what it points to; the source itself never does.
void removeOld(const CopyPlace& to, const struct stat& source) {
    struct stat old {};
    if (::fstatat(to.folder.get(), to.name().c_str(), &old, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno != ENOENT)
            fail(to.path);
        return;
    }
    if (old.st_dev == source.st_dev && old.st_ino == source.st_ino)
        throw std::runtime_error(to.path.native() + ": Is the source itself");
    check(::unlinkat(to.folder.get(), to.name().c_str(), 0), to.path);
}

void writeAll(const Opened& target, const char* data, std::size_t size, off_t offset) {
    while (size > 0) {
        const ssize_t written = ::pwrite(target.descriptor.get(), data, size, offset);
        if (written < 0 && errno != EINTR)
            fail(target.path);
        const auto step = static_cast<std::size_t>(std::max<ssize_t>(written, 0));
        data += step;
        size -= step;
        offset += static_cast<off_t>(step);
    }
}

void copyRange(const Opened& source, const Opened& target, off_t begin, off_t end, std::vector<char>& block) {
    while (begin < end) {
        const auto wanted = std::min(block.size(), static_cast<std::size_t>(end - begin));
        const ssize_t size = ::pread(source.descriptor.get(), block.data(), wanted, begin);
        if (size < 0 && errno == EINTR)
            continue;
        check(size, source.path);
        if (size == 0)
            return; // Became shorter; failIfChanged tells.
        writeAll(target, block.data(), static_cast<std::size_t>(size), begin);
        begin += size;
    }
}

/// Copies the parts that hold data and then sets the size, which leaves the rest as holes.
void copyContents(const Opened& source, const Opened& target) {
    std::vector<char> block(blockSize);
    const off_t size = source.status.st_size;
    for (off_t position = 0; position < size;) {
        off_t begin = ::lseek(source.descriptor.get(), position, SEEK_DATA);
        if (begin < 0 && errno == ENXIO)
            break;
        off_t end = begin < 0 ? -1 : ::lseek(source.descriptor.get(), begin, SEEK_HOLE);
        if (end < 0) { // A file system that knows no holes.
            begin = position;
            end = size;
        }
        copyRange(source, target, begin, std::min(end, size), block);
        position = end;
    }
    check(::ftruncate(target.descriptor.get(), size), target.path);
}

/// What was copied while it was written to may be neither the old nor the new content, though as long as one.
void failIfChanged(const Opened& source, const Opened& target) {
    struct stat now {};
    check(::fstat(source.descriptor.get(), &now), source.path);
    if (FileState::of(now) == FileState::of(source.status))
        return;
    markUnfinished(target.descriptor);
    throw std::runtime_error(source.path.native() + ": Changed while it was copied");
}

std::string listAttributes(const Opened& source) {
    std::string names;
    while (true) {
        const ssize_t size = ::flistxattr(source.descriptor.get(), nullptr, 0);
        names.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
        checkIfSupported(size, source.path);
        const ssize_t filled =
            names.empty() ? 0 : ::flistxattr(source.descriptor.get(), names.data(), names.size());
        if (filled >= 0) {
            names.resize(static_cast<std::size_t>(filled));
            return names;
        }
        if (errno != ERANGE)
            fail(source.path);
    }
}

/// The user's own attributes: the others belong to the system that the file is on.
void copyAttributes(const Opened& source, const Opened& target) {
    const std::string names = listAttributes(source);
    std::vector<char> value(XATTR_SIZE_MAX);
    for (std::size_t at = 0; at < names.size();) {
        const std::string name = names.c_str() + at;
        at += name.size() + 1;
        if (!name.starts_with("user."))
            continue;
        const ssize_t size = ::fgetxattr(source.descriptor.get(), name.c_str(), value.data(), value.size());
        check(size, source.path);
        checkIfSupported(::fsetxattr(target.descriptor.get(), name.c_str(), value.data(),
                                     static_cast<std::size_t>(size), 0),
                         target.path);
    }
}

/// The owner is not copied, so a program that runs as its owner must not come to run as ours.
void copyPermissions(const Opened& source, const Opened& target) {
    checkIfSupported(::fchmod(target.descriptor.get(), source.status.st_mode & 01777), target.path);
}

void copyTimes(const Opened& source, const Opened& target) {
    const std::array<timespec, 2> times{source.status.st_atim, source.status.st_mtim};
    checkIfSupported(::futimens(target.descriptor.get(), times.data()), target.path);
}

} // namespace

void copyRegularFile(const fs::path& from, const CopyPlace& to) {
    const Opened source = openSource(from, 0, S_IFREG);
    removeOld(to, source.status);
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    Opened target{FileDescriptor(::openat(to.folder.get(), to.name().c_str(), flags, 0600)), to.path, {}};
    check(target.descriptor.get(), to.path);
    copyContents(source, target);
    copyAttributes(source, target);
    copyPermissions(source, target);
    check(::fsync(target.descriptor.get()), to.path);
    failIfChanged(source, target);
    copyTimes(source, target);
    check(::close(target.descriptor.release()), to.path);
}

void copySymbolicLink(const fs::path& from, const CopyPlace& to) {
    struct stat status {};
    check(::lstat(from.c_str(), &status), from);
    std::error_code error;
    const fs::path pointsTo = fs::read_symlink(from, error);
    if (error)
        fail(from, error.value());
    removeOld(to, status);
    check(::symlinkat(pointsTo.c_str(), to.folder.get(), to.name().c_str()), to.path);
    const std::array<timespec, 2> times{status.st_atim, status.st_mtim};
    checkIfSupported(::utimensat(to.folder.get(), to.name().c_str(), times.data(), AT_SYMLINK_NOFOLLOW),
                     to.path);
}

void copyFolderMetadata(const fs::path& from, FileDescriptor folder, const fs::path& to) {
    const Opened source = openSource(from, O_DIRECTORY, S_IFDIR);
    const Opened target{std::move(folder), to, {}};
    copyAttributes(source, target);
    copyPermissions(source, target);
    copyTimes(source, target);
}

} // namespace ternvault

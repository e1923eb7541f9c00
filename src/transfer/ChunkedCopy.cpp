#include "transfer/ChunkedCopy.h"

#include "base/FileDescriptor.h"
#include "base/FileState.h"
#include "base/UnfinishedTime.h"
#include "transfer/TransferError.h"

#include <cerrno>
#include <cstddef>
#include <memory>
#include <span>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr std::size_t chunkSize = 1'048'576;

FileDescriptor openFile(const std::filesystem::path& path, int flags) {
    constexpr mode_t everybody = 0666;
    return FileDescriptor(::open(path.c_str(), flags | O_CLOEXEC, everybody));
}

[[noreturn]] void throwPlatformError(const std::filesystem::path& path) {
    throw std::system_error(errno, std::generic_category(), path.filename().string());
}

/// What is neither file nor folder (a pipe, a device) has no content to copy.
FileState requireFile(const FileDescriptor& source, const std::filesystem::path& path) {
    struct stat status {};
    if (::fstat(source.get(), &status) != 0)
        throwPlatformError(path);
    if (!S_ISREG(status.st_mode))
        throw std::system_error(std::make_error_code(std::errc::not_supported), path.filename().string());
    return FileState::of(status);
}

void writeAll(const FileDescriptor& target, std::span<const std::byte> bytes,
              const std::filesystem::path& path) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(target.get(), bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            throwPlatformError(path);
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
}

/// What was copied while it was written to may be neither the old nor the new content, though as long as one.
void requireUnchanged(const FileState& before, const FileDescriptor& source, const FileDescriptor& target,
                      const std::filesystem::path& path) {
    if (requireFile(source, path) == before)
        return;
    markUnfinished(target);
    throw TransferError(TransferError::notCopied, u"The file changed while it was copied"_s);
}

/// The bytes read into `buffer`; none at the end of the file.
std::span<const std::byte> readChunk(const FileDescriptor& source, std::span<std::byte> buffer,
                                     const std::filesystem::path& path) {
    for (;;) {
        const ssize_t got = ::read(source.get(), buffer.data(), buffer.size());
        if (got >= 0)
            return buffer.first(static_cast<std::size_t>(got));
        if (errno != EINTR)
            throwPlatformError(path);
    }
}

} // namespace

void chunkedCopy(FileManager& files, const std::filesystem::path& from, const std::filesystem::path& to) {
    // A link that leads nowhere does not exist, and yet a file would be created where it leads.
    std::error_code ignored;
    if (files.exists(to) || std::filesystem::is_symlink(to, ignored))
        files.remove(to);
    if (!openFile(to, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW)) {
        throw TransferError(TransferError::cannotCreateDestination,
                            u"Could not create "_s + QString::fromStdString(to.filename().string()));
    }
    // Without waiting: a pipe that nobody writes to would hold the attempt for good.
    const FileDescriptor source = openFile(from, O_RDONLY | O_NONBLOCK);
    if (!source)
        throwPlatformError(from);
    const FileState before = requireFile(source, from);
    const FileDescriptor target = openFile(to, O_WRONLY | O_NOFOLLOW);
    if (!target)
        throw TransferError(TransferError::cannotOpenDestination, u"Could not open dest for write"_s);

    const auto buffer = std::make_unique<std::byte[]>(chunkSize);
    for (;;) {
        const std::span<const std::byte> chunk = readChunk(source, {buffer.get(), chunkSize}, from);
        if (chunk.empty())
            break;
        writeAll(target, chunk, to);
    }
    // A volume may take bytes before its server has them and report a lost tail only now.
    if (::fsync(target.get()) != 0)
        throwPlatformError(to);
    requireUnchanged(before, source, target, from);
}

} // namespace ternvault

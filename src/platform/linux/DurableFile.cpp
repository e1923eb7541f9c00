#include "platform/linux/DurableFile.h"

#include "base/FileLocking.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdio>

namespace ternvault {

namespace fs = std::filesystem;

namespace {

std::error_code lastError() {
    return {errno, std::generic_category()};
}

bool writeAll(int descriptor, const QByteArray& content) {
    for (qsizetype done = 0; done < content.size();) {
        const ssize_t written =
            ::write(descriptor, content.data() + done, static_cast<std::size_t>(content.size() - done));
        if (written < 0 && errno != EINTR)
            return false;
        done += std::max<ssize_t>(written, 0);
    }
    return true;
}

} // namespace

std::optional<FileLock> FileLock::acquire(const fs::path& file, std::chrono::milliseconds patience,
                                          std::error_code& error) {
    FileDescriptor descriptor(
        ::open((file.native() + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!descriptor) {
        error = lastError();
        return std::nullopt;
    }
    error = lockExclusively(descriptor.get(), patience);
    if (error)
        return std::nullopt;
    return FileLock(std::move(descriptor));
}

std::error_code readFile(const fs::path& file, QByteArray& content) {
    // Not blocking, for the case that it is a pipe.
    const FileDescriptor descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!descriptor || ::fstat(descriptor.get(), &status) != 0)
        return lastError();
    if (!S_ISREG(status.st_mode))
        return std::make_error_code(S_ISDIR(status.st_mode) ? std::errc::is_a_directory
                                                            : std::errc::invalid_argument);
    content.clear();
    std::array<char, 16384> block; // NOLINT: filled by read
    while (true) {
        const ssize_t size = ::read(descriptor.get(), block.data(), block.size());
        if (size == 0)
            return {};
        if (size > 0)
            content.append(block.data(), size);
        else if (errno != EINTR)
            return lastError();
    }
}

std::error_code replaceFile(const fs::path& file, const QByteArray& content) {
    const fs::path fresh = file.native() + ".new";
    // A killed process may have left one. A new file has our permissions for certain.
    ::unlink(fresh.c_str());
    const FileDescriptor descriptor(::open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!descriptor)
        return lastError();
    if (!writeAll(descriptor.get(), content) || ::fsync(descriptor.get()) != 0 ||
        std::rename(fresh.c_str(), file.c_str()) != 0) {
        const std::error_code error = lastError();
        ::unlink(fresh.c_str());
        return error;
    }
    const FileDescriptor folder(::open(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ::fsync(folder.get());
    return {};
}

} // namespace ternvault

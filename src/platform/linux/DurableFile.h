#pragma once

#include "base/FileDescriptor.h"

#include <QByteArray>

#include <chrono>
#include <filesystem>
#include <optional>
#include <system_error>

namespace ternvault {

/// Keeps other processes of the user from changing `file` meanwhile; they take the same lock. It is a file of
/// its own, "NAME.lock", which stays: `file` itself is replaced with every change. Any thread.
class FileLock {
public:
    /// Waits until `patience` is over at most; the error then is std::errc::timed_out.
    static std::optional<FileLock> acquire(const std::filesystem::path& file,
                                           std::chrono::milliseconds patience, std::error_code& error);

private:
    explicit FileLock(FileDescriptor descriptor) : descriptor_(std::move(descriptor)) {}

    FileDescriptor descriptor_;
};

/// Reads a regular file whole.
std::error_code readFile(const std::filesystem::path& file, QByteArray& content);

/// Replaces the file, readable for the user alone: whatever happens meanwhile, even a loss of power, either
/// the old content or the new one is there in full. The caller holds the lock.
std::error_code replaceFile(const std::filesystem::path& file, const QByteArray& content);

} // namespace ternvault

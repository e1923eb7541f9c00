#pragma once

#include "base/FileDescriptor.h"
#include "platform/FileManager.h"
#include "platform/ProcessLauncher.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <filesystem>

namespace ternvault {

/// How a child process ended and what it said.
struct ChildOutcome {
    /// Exit status; 127 when the program could not be started.
    int status = 0;
    /// Standard error, or standard output where that is not text; trimmed.
    QString output;
};

/// Copies one file or folder onto the volume: rsync first, then the system's copy tool, then, for a file, a
/// chunked copy. Stateless; any thread, but not the main one.
class CopyEngines {
public:
    /// `turn`: held open by the programs until they end, also when this process ends before them; none when
    /// null.
    CopyEngines(FileManager& files, ProcessLauncher& processes, const FileDescriptor* turn = nullptr)
        : files_(files), processes_(processes), turn_(turn) {}

    /// Returns the number of bytes now at the destination (0 when they cannot be measured). A folder is
    /// merged into an existing one. Throws TransferError or std::system_error.
    std::int64_t rsyncCopy(const std::filesystem::path& from, const std::filesystem::path& to,
                           bool isDirectory) const;

    ChildOutcome run(const QString& program, const QStringList& arguments) const;

    /// Size of a file, or of all files below a folder that are not hidden; 0 when there is no entry. Throws
    /// std::system_error when a file's attributes cannot be read.
    std::int64_t sizeOf(const std::filesystem::path& item) const;

private:
    bool copiedByRsync(const std::filesystem::path& from, const std::filesystem::path& to,
                       bool isDirectory) const;
    void copyWithoutRsync(const std::filesystem::path& from, const std::filesystem::path& to,
                          bool isDirectory) const;
    std::int64_t measure(const std::filesystem::path& item) const;

    FileManager& files_;
    ProcessLauncher& processes_;
    const FileDescriptor* turn_;
};

} // namespace ternvault

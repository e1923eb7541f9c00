#pragma once

#include "base/FileState.h"

#include <filesystem>
#include <optional>

namespace ternvault {

/// Gives each file at the destination that rsync is about to overwrite in place, or that an earlier copy left
/// unfinished, a time of the past (base/UnfinishedTime.h). Whatever cuts the copy short, no later one takes
/// the file for complete, as it could where the server's own time of the write falls in the second in which
/// the source was saved: rsync compares sizes and whole seconds. A file counts as complete when size and time
/// are the source's, to the microsecond or as coarsely as the destination keeps times. Fresh copies cost one
/// look. False when a file may not be marked: rsync may skip it, so that its word proves nothing. Throws
/// std::system_error.
bool markUnfinishedFiles(const std::filesystem::path& from, const std::filesystem::path& to,
                         bool isDirectory);

/// Judges rsync's word that one file was copied. Made before rsync runs.
class SingleFileCheck {
public:
    /// Nothing is judged where `from` is no file, or one that rsync leaves out.
    explicit SingleFileCheck(const std::filesystem::path& from);

    /// Throws TransferError when `to` is not as long as the source or says that it is unfinished. A source
    /// that changed while rsync read it counts as rsync has it; the next copy notices.
    void requireCopied(const std::filesystem::path& to) const;

private:
    std::filesystem::path from_;
    std::optional<FileState> before_;
};

} // namespace ternvault

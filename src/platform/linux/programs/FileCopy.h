#pragma once

#include "base/FileDescriptor.h"

#include <filesystem>

namespace ternvault {

/// Where a copy goes: an entry of an open folder, so that no link decides.
struct CopyPlace {
    const FileDescriptor& folder;
    /// Its last component is the entry; the rest is for messages.
    std::filesystem::path path;

    std::filesystem::path name() const { return path.filename(); }
};

/// Copies one regular file: contents, permissions, "user." extended attributes and times. The destination is
/// replaced; a folder there is an error. Holes stay holes. A file that changes meanwhile is an error, and
/// what has arrived then says that it is unfinished (base/UnfinishedTime.h). Blocks until the data is on the
/// destination's disk, because many file systems report a lost write only then. Throws std::exception with
/// the text "path: reason".
void copyRegularFile(const std::filesystem::path& from, const CopyPlace& to);

/// Copies a symbolic link itself, under the same rules.
void copySymbolicLink(const std::filesystem::path& from, const CopyPlace& to);

/// Gives the open folder, which messages call `to`, the permissions, attributes and times of the folder
/// `from`.
void copyFolderMetadata(const std::filesystem::path& from, FileDescriptor folder,
                        const std::filesystem::path& to);

} // namespace ternvault

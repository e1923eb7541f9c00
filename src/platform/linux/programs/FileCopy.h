#pragma once

#include <filesystem>

namespace ternvault {

/// Copies one regular file: contents, permissions, "user." extended attributes and times. The destination is
/// replaced; a folder there is an error. Holes stay holes. Blocks until the data is on the destination's
/// disk, because many file systems report a lost write only then. Throws std::exception with the text "path:
/// reason".
void copyRegularFile(const std::filesystem::path& from, const std::filesystem::path& to);

/// Copies a symbolic link itself, under the same rules.
void copySymbolicLink(const std::filesystem::path& from, const std::filesystem::path& to);

/// Gives the folder `to` the permissions, attributes and times of the folder `from`.
void copyFolderMetadata(const std::filesystem::path& from, const std::filesystem::path& to);

} // namespace ternvault

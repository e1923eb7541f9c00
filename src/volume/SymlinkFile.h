#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// Symbolic links as small files of one fixed size, the "XSym" format that other SMB clients read and write
/// too.
namespace ternvault::volume {

inline constexpr std::size_t symlinkFileSize = 1067;
inline constexpr std::size_t longestSymlinkTarget = 1024;

/// `target` is at most longestSymlinkTarget bytes long.
std::string encodeSymlink(std::string_view target);
/// The target, or nothing when the file is an ordinary one.
std::optional<std::string> decodeSymlink(std::string_view contents);

} // namespace ternvault::volume

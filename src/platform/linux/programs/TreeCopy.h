#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace ternvault {

/// Copies a file, a symbolic link or a folder with all that it holds. A folder is merged into one that stands
/// at `to`, never into one that a link leads to: files of the same name are replaced, nothing else there is
/// touched. The parent of `to` must exist. Goes on after an error. Returns the errors, "path: reason" each;
/// none means that everything was copied.
std::vector<std::string> copyTree(const std::filesystem::path& from, const std::filesystem::path& to);

} // namespace ternvault

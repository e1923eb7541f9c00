#pragma once

#include <filesystem>
#include <string>

namespace ternvault::server {

/// The content of a small file, 1 MiB at most. Throws std::system_error.
std::string readTextFile(const std::filesystem::path& file);

} // namespace ternvault::server

#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace ternvault::server {

/// A new secret in a new file of mode 0600: 32 random bytes in hexadecimal digits. An existing file is never
/// replaced. Throws std::system_error, code EEXIST when there is one.
std::string createToken(const std::filesystem::path& file);

/// Throws std::system_error, code EPERM when others than its owner may read the file, EINVAL when it holds no
/// token.
std::string readToken(const std::filesystem::path& file);

/// Takes the same time wherever the two differ; only the length of `expected` shows.
bool isSameSecret(std::string_view given, std::string_view expected);

} // namespace ternvault::server

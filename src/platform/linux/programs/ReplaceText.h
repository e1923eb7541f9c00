#pragma once

#include <filesystem>
#include <string>

#include <sys/types.h>

namespace ternvault {

/// Replaces a file in one step: a reader, or the next start after a loss of power, finds the old text or the
/// new one in full. One writer at a time. Failures are std::system_error.
void replaceText(const std::filesystem::path& file, const std::string& text, mode_t mode);

} // namespace ternvault

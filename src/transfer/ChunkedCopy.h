#pragma once

#include "platform/FileManager.h"

#include <filesystem>

namespace ternvault {

/// Copies the bytes of one file through a buffer of 1 MiB, nothing but the bytes, replacing the destination,
/// and returns only when the destination has taken them for good. Throws TransferError or std::system_error.
void chunkedCopy(FileManager& files, const std::filesystem::path& from, const std::filesystem::path& to);

} // namespace ternvault

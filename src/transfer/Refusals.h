#pragma once

#include <filesystem>

namespace ternvault {

/// Throws TransferError, which names the item, where a copy would lose what it is of: a link to what it would
/// replace, or a folder of which the destination is a part.
void refuseToCopyOntoItself(const std::filesystem::path& from, const std::filesystem::path& to,
                            bool isDirectory);

} // namespace ternvault

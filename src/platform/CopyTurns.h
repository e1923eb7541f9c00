#pragma once

#include "base/FileDescriptor.h"

#include <chrono>
#include <filesystem>
#include <optional>

namespace ternvault {

/// Whose turn it is to copy onto a volume: one copy at a time, among all programs of this user.
class CopyTurns {
public:
    virtual ~CopyTurns() = default;

    /// Waits at most `patience`; nothing while somebody else has the turn for longer. The turn lasts until
    /// the descriptor and what programs hold of it (ProcessLauncher::runHolding) are closed. Throws
    /// std::system_error. Blocks; any thread but the main one.
    virtual std::optional<FileDescriptor> take(const std::filesystem::path& volumeRoot,
                                               std::chrono::milliseconds patience) = 0;
};

} // namespace ternvault

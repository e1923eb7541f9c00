#pragma once

#include "platform/CopyTurns.h"

namespace ternvault {

/// Turns are locks on files in the folder of the mounts' records. A lock ends with the last process that has
/// it, so a copy program that outlives its starter keeps the turn.
class LockedCopyTurns final : public CopyTurns {
public:
    explicit LockedCopyTurns(std::filesystem::path state) : state_(std::move(state)) {}

    std::optional<FileDescriptor> take(const std::filesystem::path& volumeRoot,
                                       std::chrono::milliseconds patience) override;

private:
    const std::filesystem::path state_;
};

} // namespace ternvault

#include "platform/linux/LockedCopyTurns.h"

#include "base/FileLocking.h"
#include "platform/linux/programs/MountPoints.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>

namespace ternvault {

namespace fs = std::filesystem;

namespace {

/// One per volume, whatever the spelling of the way there.
fs::path turnFile(const fs::path& state, const fs::path& volumeRoot) {
    std::error_code unknown;
    const fs::path parent = fs::canonical(volumeRoot.parent_path(), unknown);
    const fs::path root = (unknown ? volumeRoot.parent_path() : parent) / volumeRoot.filename();
    return mountStateFile(state, root, ".copy");
}

} // namespace

std::optional<FileDescriptor> LockedCopyTurns::take(const fs::path& volumeRoot,
                                                    std::chrono::milliseconds patience) {
    std::error_code told; // by the attempt to open
    fs::create_directories(state_, told);
    FileDescriptor turn(::open(turnFile(state_, volumeRoot).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!turn)
        throw std::system_error(errno, std::generic_category(), "The turn to copy cannot be taken");
    const std::error_code error = lockExclusively(turn.get(), patience);
    if (error == std::errc::timed_out)
        return std::nullopt;
    if (error)
        throw std::system_error(error, "The turn to copy cannot be taken");
    return turn;
}

} // namespace ternvault

#pragma once

#include "platform/ProcessLauncher.h"

#include <filesystem>

namespace ternvault {

/// Stands in for the disk utility: `unmount PATH` and `unmount force PATH` for volumes of ours. The forced
/// one takes it away while it is in use, gives its program 3 s to put on the server what was written, and
/// ends it, also where a plain one left it behind. Status 0 when the entry is gone, else another one and the
/// reason on standard error.
class DiskUtility {
public:
    /// `state` is the folder of the mount records.
    explicit DiskUtility(std::filesystem::path state) : state_(std::move(state)) {}

    /// Blocks; any thread.
    ProcessResult operator()(const QStringList& arguments) const;

private:
    std::filesystem::path state_;
};

} // namespace ternvault

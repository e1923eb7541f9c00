#pragma once

#include "platform/ProcessLauncher.h"

#include <filesystem>

namespace ternvault {

/// Stands in for the scripting host and its command "mount volume": `-e`, `mount volume "smb://…"`. In the
/// literal only a backslash before a double quote is an escape. The volume appears as an entry of the volumes
/// root that is named after the share. Status 0 when it is mounted, else another one and the reason on
/// standard error, within ten seconds and with no entry left.
class MountVolumeScript {
public:
    struct Places {
        /// Path of `ternvault-volume`.
        QString program;
        std::filesystem::path volumesRoot;
        std::filesystem::path state;
    };

    explicit MountVolumeScript(Places places) : places_(std::move(places)) {}

    /// Blocks; any thread.
    ProcessResult operator()(const QStringList& arguments) const;

private:
    Places places_;
};

} // namespace ternvault

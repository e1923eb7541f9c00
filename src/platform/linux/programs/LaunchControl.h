#pragma once

#include "platform/ProcessLauncher.h"

#include <filesystem>
#include <optional>

namespace ternvault {

/// Stands in for the service manager, for agents that open an application at login:
/// `bootstrap gui/UID PLIST` makes the desktop's autostart entry LABEL.desktop from the property list, and
/// `bootout gui/UID/LABEL` takes it away. Loading starts nothing: the entry is for the next login. Status 0,
/// or another one and the reason on standard error; an agent that cannot be loaded changes nothing.
class LaunchControl {
public:
    /// `configuration`: the folder of the user's settings, if the system knows one.
    explicit LaunchControl(const std::optional<std::filesystem::path>& configuration);

    /// Blocks; any thread.
    ProcessResult operator()(const QStringList& arguments) const;

private:
    ProcessResult load(const QString& propertyList) const;
    ProcessResult unload(const QString& label) const;
    QString entryFile(const QString& label) const;

    QString folder_;
};

} // namespace ternvault

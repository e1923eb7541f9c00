#pragma once

#include "platform/ProcessLauncher.h"

namespace ternvault {

/// Stands in for the program that writes preferences, for one of them:
/// `write com.apple.finder ShowMountedServersOnDesktop -bool true|false` goes to the setting of the running
/// desktop that decides about network volumes. It is written through the desktop's own program, and only when
/// it differs. Status 0, also where no desktop runs that has such a setting; else another one and the reason
/// on standard error. Ends within two seconds, whatever that program does.
ProcessResult runDefaults(const QStringList& arguments);

} // namespace ternvault

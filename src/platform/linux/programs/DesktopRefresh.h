#pragma once

#include "platform/ProcessLauncher.h"

namespace ternvault {

/// Whether the scripting host is asked to have the file manager redraw the desktop.
bool isDesktopRedraw(const QStringList& arguments);

/// Stands in for the program that ends others by name, for the file manager alone. It ends nothing: the
/// redraw has made the desktop read its settings again, and ending it would take windows and running copies
/// of the user with it.
ProcessResult runKillAll(const QStringList& arguments);

} // namespace ternvault

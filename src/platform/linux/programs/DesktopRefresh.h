#pragma once

#include "platform/ProcessLauncher.h"

namespace ternvault {

// The desktops of Linux that show volumes watch the mounts, their settings and the folders on screen
// themselves, so that a request to redraw or to restart the file manager leaves nothing to be done. It is
// granted without effect: ending a desktop that belongs to the session would take windows and running copies
// of the user with it.

/// Whether the scripting host is asked to have the file manager redraw the desktop.
bool isDesktopRedraw(const QStringList& arguments);

/// Stands in for the program that ends others by name, for the file manager alone.
ProcessResult runKillAll(const QStringList& arguments);

} // namespace ternvault

#pragma once

#include <QByteArray>
#include <QtGui/qwindowdefs.h>

/// What Qt does not tell the window manager. All of it does nothing where the display is not X11. Main
/// thread.
namespace ternvault::x11 {

/// Asks for the window to be raised and focused, whichever application is active now.
void activateWindow(WId window);

/// Ends the sign that a start is under way (startup notification).
void endStartup(const QByteArray& startupId);

} // namespace ternvault::x11

#pragma once

#include <QWidget>

namespace ternvault {

/// Shows a window of the active application in front, also one that is minimised.
inline void bringForward(QWidget& window) {
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.activateWindow();
}

} // namespace ternvault

#include "app/ApplicationActivation.h"

#include "platform/linux/X11Windows.h"

namespace ternvault {

void ApplicationActivation::activate() {
    if (!window_ || !window_->isVisible())
        return;
    window_->setWindowState(window_->windowState() & ~Qt::WindowMinimized);
    window_->raise();
    window_->activateWindow();
    x11::activateWindow(window_->winId());
}

} // namespace ternvault

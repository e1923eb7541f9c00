#include "app/ApplicationActivation.h"

#include "platform/linux/X11Windows.h"
#include "ui/BringForward.h"

#include <QApplication>

namespace ternvault {

void ApplicationActivation::activate() {
    QWidget* const window = topmost();
    if (window == nullptr)
        return;
    bringForward(*window);
    x11::activateWindow(window->winId());
}

QWidget* ApplicationActivation::topmost() const {
    if (window_ && window_->isVisible())
        return window_;
    for (QWidget* const window : QApplication::topLevelWidgets()) {
        const Qt::WindowType kind = window->windowType();
        if (window->isVisible() && (kind == Qt::Window || kind == Qt::Dialog))
            return window;
    }
    return nullptr;
}

} // namespace ternvault

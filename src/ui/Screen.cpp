#include "ui/Screen.h"

#include <QScrollBar>

namespace ternvault {

Screen::Screen(int spacing, int padding) {
    auto* const content = new QWidget;
    column_ = new QVBoxLayout(content);
    column_->setSpacing(spacing);
    column_->setContentsMargins(padding, padding, padding, padding);
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setFocusPolicy(Qt::NoFocus);
    setWidget(content);
    content->setAutoFillBackground(false);
    viewport()->setAutoFillBackground(false);
}

QSize Screen::minimumSizeHint() const {
    return {widget()->minimumSizeHint().width() + verticalScrollBar()->sizeHint().width(), 0};
}

QSize Screen::sizeHint() const {
    return widget()->sizeHint();
}

} // namespace ternvault

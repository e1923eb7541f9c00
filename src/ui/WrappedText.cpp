#include "ui/WrappedText.h"

namespace ternvault {

WrappedText::WrappedText(const QString& text) {
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setText(text);
}

QSize WrappedText::minimumSizeHint() const {
    const QRect atLeast(0, 0, wordWrap() ? 1 : QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
    const int width = fontMetrics().boundingRect(atLeast, wordWrap() ? Qt::TextWordWrap : 0, text()).width();
    return QSize(width, fontMetrics().height()).grownBy(contentsMargins());
}

int WrappedText::heightForWidth(int width) const {
    return heights_.at(width, text(), font(), [this, width] { return QLabel::heightForWidth(width); });
}

} // namespace ternvault

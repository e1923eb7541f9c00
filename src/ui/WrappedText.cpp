#include "ui/WrappedText.h"

namespace ternvault {

WrappedText::WrappedText(const QString& text) {
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setText(text);
}

QSize WrappedText::sizeHint() const {
    return fontMetrics().size(0, text()).grownBy(contentsMargins());
}

QSize WrappedText::minimumSizeHint() const {
    if (!wordWrap())
        return sizeHint();
    const int longestWord =
        fontMetrics().boundingRect(QRect(0, 0, 1, QWIDGETSIZE_MAX), Qt::TextWordWrap, text()).width();
    return QSize(longestWord, fontMetrics().height()).grownBy(contentsMargins());
}

int WrappedText::heightForWidth(int width) const {
    return heights_.at(width, text(), font(), [this, width] { return QLabel::heightForWidth(width); });
}

} // namespace ternvault

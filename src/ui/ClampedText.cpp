#include "ui/ClampedText.h"

#include <QPainter>
#include <QTextLayout>

#include <algorithm>

namespace ternvault {

ClampedText::ClampedText(int maxLines) : maxLines_(maxLines) {
    setTextFormat(Qt::PlainText);
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

bool ClampedText::show(const QString& text) {
    if (text == this->text())
        return false;
    setText(text);
    setToolTip(isShortened() ? text : QString());
    updateGeometry();
    return true;
}

QStringList ClampedText::lines(int width) const {
    QString remaining = text();
    remaining.replace(u'\n', QChar::LineSeparator);
    QTextLayout layout(remaining, font());
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    QStringList result;
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(std::max(width, 1));
        const bool isLast = result.size() + 1 == maxLines_;
        const QString rest = remaining.mid(line.textStart());
        result << (isLast ? fontMetrics().elidedText(rest, Qt::ElideRight, width)
                          : rest.left(line.textLength()));
        if (isLast)
            break;
    }
    layout.endLayout();
    return result;
}

bool ClampedText::isShortened() const {
    return !lines(width()).join(QString()).startsWith(QString(text()).replace(u'\n', QChar::LineSeparator));
}

QSize ClampedText::sizeHint() const {
    return {fontMetrics().horizontalAdvance(text()), fontMetrics().height()};
}

int ClampedText::heightForWidth(int width) const {
    const auto count = std::max<qsizetype>(lines(width).size(), 1);
    return static_cast<int>(count) * fontMetrics().lineSpacing();
}

void ClampedText::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    int top = 0;
    for (const QString& line : lines(width())) {
        painter.drawText(QRect(0, top, width(), fontMetrics().lineSpacing()),
                         Qt::AlignLeading | Qt::AlignVCenter, line);
        top += fontMetrics().lineSpacing();
    }
}

void ClampedText::resizeEvent(QResizeEvent* event) {
    QLabel::resizeEvent(event);
    setToolTip(isShortened() ? text() : QString());
}

} // namespace ternvault

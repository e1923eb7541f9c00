#include "ui/ClampedText.h"

#include "ui/ShortenedText.h"

#include <QPainter>
#include <QTextLayout>

#include <algorithm>

namespace ternvault {

using namespace Qt::StringLiterals;

ClampedText::ClampedText(int maxLines, const TextLook& look) : maxLines_(maxLines) {
    applyLook(*this, look);
    setTextFormat(Qt::PlainText);
    QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

bool ClampedText::display(const QString& text) {
    const QString shown = shortened(text);
    if (shown == this->text())
        return false;
    setText(shown);
    updateGeometry();
    return true;
}

ClampedText::Lines ClampedText::lines(int width) const {
    QString whole = text();
    whole.replace(u'\n', QChar::LineSeparator);
    QTextLayout layout(whole, font());
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    Lines result;
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(std::max(width, 1));
        QString shown = whole.mid(line.textStart(), line.textLength());
        if (shown.endsWith(QChar::LineSeparator))
            shown.chop(1);
        const bool isLast = result.texts.size() + 1 == maxLines_;
        if (isLast && line.textStart() + line.textLength() < whole.size()) {
            // A line that ends early has room for the ellipsis; a full one has not and gives way to it.
            shown = fontMetrics().elidedText(shown.trimmed() + u"…"_s, Qt::ElideRight, width);
            result.areShortened = true;
        }
        result.texts << shown;
        if (isLast)
            break;
    }
    layout.endLayout();
    return result;
}

int ClampedText::heightForWidth(int width) const {
    return heights_.at(width, text(), font(), [this, width] {
        const auto count = std::max<qsizetype>(lines(width).texts.size(), 1);
        return static_cast<int>(count) * fontMetrics().lineSpacing();
    });
}

bool ClampedText::event(QEvent* event) {
    // Tool tips take what looks like mark-up for mark-up.
    if (event->type() == QEvent::ToolTip)
        setToolTip(lines(width()).areShortened ? u"<p>"_s + text().toHtmlEscaped() + u"</p>"_s : QString());
    return QLabel::event(event);
}

void ClampedText::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    int top = 0;
    for (const QString& line : lines(width()).texts) {
        painter.drawText(QRect(0, top, width(), fontMetrics().lineSpacing()),
                         Qt::AlignLeading | Qt::AlignVCenter | Qt::TextSingleLine, line);
        top += fontMetrics().lineSpacing();
    }
}

} // namespace ternvault

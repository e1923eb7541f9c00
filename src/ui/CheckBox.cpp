#include "ui/CheckBox.h"

#include <QStyleOptionButton>
#include <QStylePainter>

#include <algorithm>

namespace ternvault {

namespace {

constexpr int spacing = 8;
/// Around the text, for the frame that shows the focus.
constexpr int margin = 3;
constexpr int wrapped = Qt::TextWordWrap | Qt::TextShowMnemonic | Qt::AlignLeading | Qt::AlignTop;

} // namespace

CheckBox::CheckBox(const QString& title) : QCheckBox(title) {
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

int CheckBox::indicatorWidth() const {
    return style()->pixelMetric(QStyle::PM_IndicatorWidth, nullptr, this);
}

int CheckBox::indicatorHeight() const {
    return style()->pixelMetric(QStyle::PM_IndicatorHeight, nullptr, this);
}

QSize CheckBox::textSize(int availableWidth) const {
    return fontMetrics().boundingRect(QRect(0, 0, availableWidth, QWIDGETSIZE_MAX), wrapped, text()).size();
}

QSize CheckBox::sizeHint() const {
    const QSize text = textSize(QWIDGETSIZE_MAX);
    return {indicatorWidth() + spacing + text.width() + 2 * margin,
            std::max(indicatorHeight(), text.height()) + 2 * margin};
}

QSize CheckBox::minimumSizeHint() const {
    const int narrowest = fontMetrics().averageCharWidth() * 20;
    return {std::min(sizeHint().width(), narrowest), indicatorHeight() + 2 * margin};
}

int CheckBox::heightForWidth(int width) const {
    const int available = width - indicatorWidth() - spacing - 2 * margin;
    return std::max(indicatorHeight(), textSize(available).height()) + 2 * margin;
}

void CheckBox::paintEvent(QPaintEvent*) {
    QStylePainter painter(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    const int firstLine = margin + std::max(fontMetrics().height(), indicatorHeight()) / 2;
    option.rect = QRect(0, firstLine - indicatorHeight() / 2, indicatorWidth(), indicatorHeight());
    painter.drawPrimitive(QStyle::PE_IndicatorCheckBox, option);

    const QRect area = rect().adjusted(indicatorWidth() + spacing + margin,
                                       std::max(margin, firstLine - fontMetrics().height() / 2), -margin, 0);
    painter.setPen(palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::WindowText));
    painter.drawText(area, wrapped, text());
    if (hasFocus()) {
        QStyleOptionFocusRect frame;
        frame.initFrom(this);
        frame.rect = QRect(area.topLeft(), textSize(area.width())).adjusted(-margin, -margin + 1, margin, margin - 1);
        painter.drawPrimitive(QStyle::PE_FrameFocusRect, frame);
    }
}

} // namespace ternvault

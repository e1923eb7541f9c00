#include "ui/CheckBox.h"

#include "ui/Box.h"
#include "ui/Colours.h"
#include "ui/Symbols.h"

#include <QPainter>

#include <algorithm>

namespace ternvault {

namespace {

constexpr int indicatorSize = 16;
constexpr int indicatorRadius = 4;
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

QSize CheckBox::textSize(int availableWidth) const {
    return fontMetrics().boundingRect(QRect(0, 0, availableWidth, QWIDGETSIZE_MAX), wrapped, text()).size();
}

QSize CheckBox::sizeHint() const {
    const QSize text = textSize(QWIDGETSIZE_MAX);
    return {indicatorSize + spacing + text.width() + 2 * margin,
            std::max(indicatorSize, text.height()) + 2 * margin};
}

QSize CheckBox::minimumSizeHint() const {
    const int longestWord = textSize(1).width();
    return {indicatorSize + spacing + longestWord + 2 * margin, indicatorSize + 2 * margin};
}

int CheckBox::heightForWidth(int width) const {
    const int available = width - indicatorSize - spacing - 2 * margin;
    const int textHeight =
        heights_.at(available, text(), font(), [this, available] { return textSize(available).height(); });
    return std::max(indicatorSize, textHeight) + 2 * margin;
}

void CheckBox::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const int firstLine = margin + std::max(fontMetrics().height(), indicatorSize) / 2;
    paintIndicator(painter, firstLine - indicatorSize / 2);
    const QRect area = rect().adjusted(indicatorSize + spacing + margin,
                                       std::max(margin, firstLine - fontMetrics().height() / 2), -margin, 0);
    painter.setPen(
        palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::WindowText));
    painter.drawText(area, wrapped, text());
    if (hasFocus()) {
        const QRect text(area.topLeft(), textSize(area.width()));
        paintBox(painter, text.adjusted(-margin, -margin + 1, margin, margin - 1),
                 {.radius = indicatorRadius, .border = colour(ColourRole::tint, palette())});
    }
}

void CheckBox::paintIndicator(QPainter& painter, int top) const {
    const QRectF square(0, top, indicatorSize, indicatorSize);
    paintBox(painter, square,
             {.radius = indicatorRadius,
              .fill = colour(isChecked() ? ColourRole::accent : ColourRole::field, palette()),
              .border = colour(isChecked() ? ColourRole::accent : ColourRole::secondary, palette())});
    if (isChecked())
        paintSymbol(painter, square, Symbol::check, colour(ColourRole::onAccent, palette()));
}

} // namespace ternvault

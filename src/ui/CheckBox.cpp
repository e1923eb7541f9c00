#include "ui/CheckBox.h"

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
    const int narrowest = fontMetrics().averageCharWidth() * 20;
    return {std::min(sizeHint().width(), narrowest), indicatorSize + 2 * margin};
}

int CheckBox::heightForWidth(int width) const {
    const int available = width - indicatorSize - spacing - 2 * margin;
    return std::max(indicatorSize, textSize(available).height()) + 2 * margin;
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
        painter.setPen(colour(ColourRole::tint, palette()));
        painter.drawRoundedRect(
            QRect(area.topLeft(), textSize(area.width())).adjusted(-margin, -margin + 1, margin, margin - 1),
            indicatorRadius, indicatorRadius);
    }
}

void CheckBox::paintIndicator(QPainter& painter, int top) const {
    const QRectF square(0, top, indicatorSize, indicatorSize);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(colour(isChecked() ? ColourRole::accent : ColourRole::secondary, palette()));
    painter.setBrush(colour(isChecked() ? ColourRole::accent : ColourRole::field, palette()));
    painter.drawRoundedRect(square.adjusted(0.5, 0.5, -0.5, -0.5), indicatorRadius, indicatorRadius);
    painter.setBrush(Qt::NoBrush);
    if (isChecked())
        paintSymbol(painter, square, Symbol::check, colour(ColourRole::onAccent, palette()));
}

} // namespace ternvault

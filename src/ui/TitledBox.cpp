#include "ui/TitledBox.h"

#include "ui/AccessibleRole.h"
#include "ui/Colours.h"

#include <QEvent>
#include <QPainter>

namespace ternvault {

namespace {

constexpr int radius = 10;
constexpr int padding = 10;
constexpr int titleGap = 5;

} // namespace

TitledBox::TitledBox(const QString& title, int spacing, int verticalPadding)
    : title_(title), column_(new QVBoxLayout(this)), verticalPadding_(verticalPadding) {
    setAccessibleRole(*this, QAccessible::Grouping);
    setAccessibleName(title);
    column_->setSpacing(spacing);
    setMargins();
}

QFont TitledBox::titleFont() const {
    QFont bold = font();
    bold.setWeight(QFont::DemiBold);
    return bold;
}

int TitledBox::titleHeight() const {
    return title_.isEmpty() ? 0 : QFontMetrics(titleFont()).height() + titleGap;
}

void TitledBox::setMargins() {
    column_->setContentsMargins(padding, titleHeight() + padding + verticalPadding_, padding,
                                padding + verticalPadding_);
}

void TitledBox::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!title_.isEmpty()) {
        painter.setFont(titleFont());
        painter.setPen(palette().color(QPalette::WindowText));
        painter.drawText(QRect(2, 0, width() - 2, titleHeight() - titleGap),
                         Qt::AlignLeading | Qt::AlignVCenter, title_);
    }
    painter.setPen(colour(ColourRole::border, palette()));
    painter.setBrush(colour(ColourRole::surface, palette()));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, titleHeight() + 0.5, -0.5, -0.5), radius, radius);
}

void TitledBox::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        setMargins();
}

} // namespace ternvault

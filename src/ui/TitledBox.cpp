#include "ui/TitledBox.h"

#include "ui/AccessibleRole.h"
#include "ui/Box.h"
#include "ui/Colours.h"
#include "ui/TextStyles.h"

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

int TitledBox::titleHeight() const {
    return title_.isEmpty() ? 0 : QFontMetrics(fontOf(TextStyle::headline)).height() + titleGap;
}

void TitledBox::setMargins() {
    column_->setContentsMargins(padding, titleHeight() + padding + verticalPadding_, padding,
                                padding + verticalPadding_);
}

void TitledBox::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (!title_.isEmpty()) {
        painter.setFont(fontOf(TextStyle::headline));
        painter.setPen(palette().color(QPalette::WindowText));
        painter.drawText(QRect(2, 0, width() - 2, titleHeight() - titleGap),
                         Qt::AlignLeading | Qt::AlignVCenter, title_);
    }
    paintBox(painter, rect().adjusted(0, titleHeight(), 0, 0),
             {.radius = radius,
              .fill = colour(ColourRole::surface, palette()),
              .border = colour(ColourRole::border, palette())});
}

void TitledBox::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        setMargins();
}

} // namespace ternvault

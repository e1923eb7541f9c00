#include "ui/MountBadge.h"

#include "ui/AccessibleRole.h"

#include <QPainter>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr int gap = 6;

} // namespace

MountBadge::Look MountBadge::lookOf(bool isComplete) {
    if (isComplete)
        return {u"Mounted"_s, Symbol::driveWithCheck, ColourRole::success};
    return {u"Volume only"_s, Symbol::warning, ColourRole::warning};
}

MountBadge::MountBadge() {
    setAccessibleRole(*this, QAccessible::StaticText);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setVisible(false);
}

void MountBadge::display(bool isMounted, bool isComplete) {
    if (isComplete != isComplete_ || accessibleName().isEmpty()) {
        isComplete_ = isComplete;
        setAccessibleName(lookOf(isComplete).label);
        updateGeometry();
        update();
    }
    setVisible(isMounted);
}

QSize MountBadge::sizeHint() const {
    const int height = fontMetrics().height() + 4;
    return {height + gap + fontMetrics().horizontalAdvance(lookOf(isComplete_).label), height};
}

void MountBadge::paintEvent(QPaintEvent*) {
    const Look look = lookOf(isComplete_);
    const QColor ink = colour(look.colour, palette());
    QPainter painter(this);
    paintSymbol(painter, QRectF(0, 0, height(), height()), look.symbol, ink);
    painter.setPen(ink);
    painter.drawText(rect().adjusted(height() + gap, 0, 0, 0), Qt::AlignLeading | Qt::AlignVCenter,
                     look.label);
}

} // namespace ternvault

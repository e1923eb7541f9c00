#include "ui/ProgressLook.h"

#include "ui/Colours.h"

#include <QPainter>
#include <QPainterPath>
#include <QStyle>
#include <QStyleOptionProgressBar>

namespace ternvault {

void paintProgress(QPainter& painter, const QStyleOptionProgressBar& bar) {
    constexpr qreal radius = progressHeight / 2.0;
    QPainterPath groove;
    groove.addRoundedRect(bar.rect, radius, radius);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(groove, colour(ColourRole::border, bar.palette));
    const qint64 range = qint64(bar.maximum) - bar.minimum;
    if (range > 0 && bar.progress > bar.minimum) {
        const auto length = static_cast<int>(bar.rect.width() * (qint64(bar.progress) - bar.minimum) / range);
        const QRect done(bar.rect.topLeft(), QSize(length, bar.rect.height()));
        // Shorter than it is high, it still fits into the rounded end.
        painter.setClipPath(groove);
        painter.setPen(Qt::NoPen);
        painter.setBrush(colour(ColourRole::accent, bar.palette));
        painter.drawRoundedRect(QStyle::visualRect(bar.direction, bar.rect, done), radius, radius);
    }
    painter.restore();
}

} // namespace ternvault

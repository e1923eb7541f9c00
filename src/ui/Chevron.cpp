#include "ui/Chevron.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPalette>

#include <algorithm>

namespace ternvault {

void Chevron::paint(QPainter* painter, const QRect& area, QIcon::Mode, QIcon::State) {
    const qreal size = std::min(area.width(), area.height()) / 4.0;
    const QPointF tip = QRectF(area).center() + QPointF(size / 2, 0);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(QGuiApplication::palette().color(QPalette::ButtonText), size / 3));
    painter->drawPolyline(QPolygonF{tip + QPointF(-size, -size), tip, tip + QPointF(-size, size)});
    painter->restore();
}

QPixmap Chevron::pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) {
    QPixmap result(size);
    result.fill(Qt::transparent);
    QPainter painter(&result);
    paint(&painter, QRect(QPoint(), size), mode, state);
    return result;
}

} // namespace ternvault

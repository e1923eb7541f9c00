#include "ui/Box.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace ternvault {

namespace {

QRectF onWholePixels(const QRectF& area, const QTransform& toDevice) {
    const QRectF exact = toDevice.mapRect(area);
    const QRectF rounded(QPointF(std::round(exact.left()), std::round(exact.top())),
                         QPointF(std::round(exact.right()), std::round(exact.bottom())));
    return toDevice.inverted().mapRect(rounded);
}

} // namespace

void paintBox(QPainter& painter, const QRectF& area, const Box& box) {
    const qreal scale = painter.device()->devicePixelRatioF();
    const qreal width = std::max(std::round(box.borderWidth * scale), 1.0) / scale;
    const qreal inset = width / 2;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(box.border, width));
    painter.setBrush(box.fill);
    const QRectF outer = onWholePixels(area, painter.deviceTransform());
    painter.drawRoundedRect(outer.adjusted(inset, inset, -inset, -inset), box.radius - inset,
                            box.radius - inset);
    painter.restore();
}

} // namespace ternvault

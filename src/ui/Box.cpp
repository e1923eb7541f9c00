#include "ui/Box.h"

#include <QPainter>
#include <QPainterPath>

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

QRectF inset(const QRectF& area, qreal by) {
    return area.adjusted(by, by, -by, -by);
}

QPainterPath roundedRect(const QRectF& area, qreal radius) {
    QPainterPath path;
    path.addRoundedRect(area, std::max(radius, 0.0), std::max(radius, 0.0));
    return path;
}

} // namespace

void paintBox(QPainter& painter, const QRectF& area, const Box& box) {
    const qreal scale = painter.device()->devicePixelRatioF();
    const qreal width = std::max(std::round(box.borderWidth * scale), 1.0) / scale;
    const QRectF outer = onWholePixels(area, painter.deviceTransform());
    QPainterPath border = roundedRect(outer, box.radius);
    border.addPath(roundedRect(inset(outer, width), box.radius - width));
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    // Its edge lies under the middle of the border, if there is one.
    const qreal under = box.border.alpha() > 0 ? width / 2 : 0;
    painter.fillPath(roundedRect(inset(outer, under), box.radius - under), box.fill);
    painter.fillPath(border, box.border);
    painter.restore();
}

} // namespace ternvault

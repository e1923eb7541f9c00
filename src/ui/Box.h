#pragma once

#include <QBrush>
#include <QColor>
#include <QRectF>

class QPainter;

namespace ternvault {

struct Box {
    qreal radius = 0;
    QBrush fill = Qt::NoBrush;
    QColor border = Qt::transparent;
    qreal borderWidth = 1;
};

/// Draws a box whose border lies inside `area`. Edges and border take whole pixels of the screen, so they are
/// sharp at any scale.
void paintBox(QPainter& painter, const QRectF& area, const Box& box);

} // namespace ternvault

#pragma once

#include <QColor>
#include <QRectF>

class QPainter;

namespace ternvault {

enum class Symbol { drive, driveWithCheck, warning, checkCircle, check };

/// Draws a symbol in one colour, sharp at any scale. `target` is square, in device-independent pixels.
void paintSymbol(QPainter& painter, const QRectF& target, Symbol symbol, const QColor& colour);

} // namespace ternvault

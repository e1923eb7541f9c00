#pragma once

#include <QStyle>

class QPainter;
class QStyleOptionSlider;

namespace ternvault {

/// In pixels.
inline constexpr int scrollBarWidth = 10;

/// A handle and nothing else.
void paintScrollBar(QPainter& painter, const QStyleOptionSlider& bar);
/// Where a part is; the steps at the ends have no place.
QRect scrollBarPart(const QStyleOptionSlider& bar, QStyle::SubControl part);

} // namespace ternvault

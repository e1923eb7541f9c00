#pragma once

#include <QRect>

class QPainter;
class QStyleOption;
class QStyleOptionFrame;

namespace ternvault {

// In pixels, each with the line around it.
inline constexpr int listFrameWidth = 5;
inline constexpr int toolTipFrameWidth = 4;

/// A field for text.
void paintField(QPainter& painter, const QStyleOptionFrame& option);
QSize fieldSize(const QSize& content);
QRect fieldContents(const QRect& field);

void paintListFrame(QPainter& painter, const QStyleOption& option);
void paintToolTip(QPainter& painter, const QStyleOption& option);

} // namespace ternvault

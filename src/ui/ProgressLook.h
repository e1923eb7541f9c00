#pragma once

class QPainter;
class QStyleOptionProgressBar;

namespace ternvault {

/// In pixels.
inline constexpr int progressHeight = 6;

void paintProgress(QPainter& painter, const QStyleOptionProgressBar& bar);

} // namespace ternvault

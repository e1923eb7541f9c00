#pragma once

class QPainter;
class QSize;
class QStyle;
class QStyleOptionButton;

namespace ternvault {

enum class ButtonKind;

/// `base` draws icon and text.
void paintButton(QPainter& painter, const QStyleOptionButton& option, ButtonKind kind, const QStyle& base);
QSize buttonSize(const QSize& content, ButtonKind kind);

} // namespace ternvault

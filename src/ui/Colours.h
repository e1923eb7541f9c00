#pragma once

#include <QColor>
#include <QPalette>

namespace ternvault {

/// What a colour says. Each has a value for light and one for dark; both keep a contrast of 4.5 to 1 for
/// text.
enum class ColourRole {
    text,
    /// Explanations and hints.
    secondary,
    /// What invites to act, and what is chosen.
    accent,
    /// Text and symbols on a surface filled with the accent colour.
    onAccent,
    accentHovered,
    accentPressed,
    /// A chosen mark or an address among text.
    tint,
    error,
    success,
    warning,
    window,
    /// Boxes on the window.
    surface,
    /// Fields and lists.
    field,
    border,
    button,
    buttonHovered,
    disabledText,
};

bool isDark(const QPalette& palette);
QColor colour(ColourRole role, bool dark);
inline QColor colour(ColourRole role, const QPalette& palette) {
    return colour(role, isDark(palette));
}
inline QColor withOpacity(QColor colour, float opacity) {
    colour.setAlphaF(opacity);
    return colour;
}

} // namespace ternvault

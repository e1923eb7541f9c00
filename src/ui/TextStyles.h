#pragma once

#include <QFont>

class QWidget;

namespace ternvault {

/// Sizes are proportions of the body's, which is the application's font.
enum class TextStyle {
    body,
    title,
    headline,
    callout,
    caption,
    /// A caption whose digits are all as wide, so that the line does not tremble while it counts.
    counter,
};

/// The smallest body, in pixels; the sizes of the styles are designed for it.
inline constexpr int leastBodySize = 13;

/// Without loading the font, as QFontInfo would: it may be needed at another size only.
int pixelSizeOf(const QFont& font);

/// What differs from the application's font; the rest is inherited.
QFont fontOf(TextStyle style);

void setTextStyle(QWidget& widget, TextStyle style);
/// After the application's font changed; does nothing where no style was set.
void renewTextStyle(QWidget& widget);

} // namespace ternvault

#pragma once

class QPushButton;
class QWidget;

namespace ternvault {

enum class ButtonKind {
    normal,
    /// Small, beside a caption.
    caption,
    /// What to do next.
    prominent,
    /// Opens something in the browser. Layouts place its text; the button stands out by `linkPadding`.
    link,
};

/// Room for the frame that shows the focus, in pixels.
inline constexpr int linkPadding = 4;

void setKind(QPushButton& button, ButtonKind kind);
ButtonKind kindOf(const QWidget* button);

} // namespace ternvault

#include "ui/ErrorText.h"

#include "ui/Announce.h"
#include "ui/ClampedText.h"

namespace ternvault {

namespace {

/// An answer of the agent may be shown whole, whatever it is.
constexpr int mostLines = 12;

} // namespace

ClampedText* makeErrorText() {
    auto* const text = new ClampedText(mostLines, errorLook);
    text->setVisible(false);
    return text;
}

void showError(ClampedText& text, const std::optional<QString>& error) {
    const bool wasHidden = text.isHidden();
    const bool differs = text.display(error.value_or(QString()));
    text.setVisible(error.has_value());
    if (error && (differs || wasHidden))
        announce(text);
}

} // namespace ternvault

#include "ui/ErrorText.h"

#include "ui/Announce.h"
#include "ui/Controls.h"

#include <QLabel>

namespace ternvault {

QLabel* makeErrorText() {
    QLabel* const text = makeText(QString(), errorLook);
    text->setVisible(false);
    return text;
}

void showError(QLabel& text, const std::optional<QString>& error) {
    const QString shown = error.value_or(QString());
    const bool isNew = error && (shown != text.text() || text.isHidden());
    if (shown != text.text())
        text.setText(shown);
    text.setVisible(error.has_value());
    if (isNew)
        announce(text);
}

} // namespace ternvault

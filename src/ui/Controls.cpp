#include "ui/Controls.h"

#include "ui/ButtonKind.h"
#include "ui/WrappedText.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QShortcut>

namespace ternvault {

void applyLook(QLabel& label, const TextLook& look) {
    if (look.style != TextStyle::body)
        setTextStyle(label, look.style);
    label.setForegroundRole(look.colour);
}

QLabel* makeText(const QString& text, const TextLook& look) {
    auto* const label = new WrappedText(text);
    applyLook(*label, look);
    return label;
}

QPushButton* makeButton(const QString& title) {
    auto* const button = new QPushButton(title);
    button->setAutoDefault(false);
    return button;
}

QPushButton* makeProminentButton(const QString& title) {
    QPushButton* const button = makeButton(title);
    setKind(*button, ButtonKind::prominent);
    return button;
}

QPushButton* makeLink(const QString& title) {
    QPushButton* const button = makeButton(title);
    setKind(*button, ButtonKind::link);
    button->setCursor(Qt::PointingHandCursor);
    return button;
}

QLineEdit* makeField(const QString& name, const QString& placeholder) {
    auto* const field = new QLineEdit;
    field->setAccessibleName(name);
    field->setPlaceholderText(placeholder);
    // Files dropped here are for the screen, not for their names to be typed.
    field->setAcceptDrops(false);
    return field;
}

QLineEdit* makeSecureField(const QString& name, const QString& placeholder) {
    QLineEdit* const field = makeField(name, placeholder);
    field->setEchoMode(QLineEdit::Password);
    field->setInputMethodHints(Qt::ImhHiddenText | Qt::ImhNoPredictiveText | Qt::ImhNoAutoUppercase);
    return field;
}

void makeDefault(QPushButton& button, QWidget& window) {
    button.setDefault(true);
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
        auto* const shortcut = new QShortcut(key, &window);
        shortcut->setContext(Qt::WidgetWithChildrenShortcut);
        shortcut->setAutoRepeat(false);
        QObject::connect(shortcut, &QShortcut::activated, &button, &QPushButton::click);
    }
}

} // namespace ternvault

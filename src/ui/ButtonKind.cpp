#include "ui/ButtonKind.h"

#include "ui/TextStyles.h"

#include <QPushButton>
#include <QVariant>

namespace ternvault {

namespace {

constexpr auto kindProperty = "buttonKind";

} // namespace

void setKind(QPushButton& button, ButtonKind kind) {
    button.setProperty(kindProperty, static_cast<int>(kind));
    if (kind == ButtonKind::caption)
        setTextStyle(button, TextStyle::caption);
    else if (kind == ButtonKind::prominent)
        setTextStyle(button, TextStyle::headline);
    // Layouts then ask the style anew where the button is.
    button.setFlat(kind == ButtonKind::link);
}

ButtonKind kindOf(const QWidget* button) {
    return button == nullptr ? ButtonKind::normal
                             : static_cast<ButtonKind>(button->property(kindProperty).toInt());
}

} // namespace ternvault

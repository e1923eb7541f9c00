#pragma once

#include "base/ObservableObject.h"

#include <QAbstractButton>
#include <QLineEdit>

namespace ternvault {

/// The first half of a two-way binding: what the user enters goes to the field, also through assistive
/// technology. The other half is `showValue` from the view's rendering.
inline void bind(QLineEdit& edit, Published<QString>& field) {
    QObject::connect(&edit, &QLineEdit::textChanged, &edit, [&field](const QString& text) {
        if (text != *field)
            field = text;
    });
}

inline void bind(QAbstractButton& toggle, Published<bool>& field) {
    QObject::connect(&toggle, &QAbstractButton::toggled, &toggle, [&field](bool on) {
        if (on != *field)
            field = on;
    });
}

/// Leaves cursor and selection alone where the text is the same.
inline void showValue(QLineEdit& edit, const QString& text) {
    if (edit.text() != text)
        edit.setText(text);
}

inline void showValue(QAbstractButton& toggle, bool on) {
    toggle.setChecked(on);
}

} // namespace ternvault

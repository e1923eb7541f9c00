#pragma once

#include <QAccessible>
#include <QWidget>

namespace ternvault {

/// Has assistive technology read a text that changed while the focus is elsewhere.
inline void announce(QWidget& text) {
    if (!text.isVisible())
        return;
    QAccessibleEvent changed(&text, QAccessible::NameChanged);
    QAccessible::updateAccessibility(&changed);
    QAccessibleEvent alert(&text, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

} // namespace ternvault

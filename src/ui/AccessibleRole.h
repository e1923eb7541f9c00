#pragma once

#include <QAccessible>

class QWidget;

namespace ternvault {

/// Tells assistive technology that `widget` is more than its class says. Its name is its accessible name.
void setAccessibleRole(QWidget& widget, QAccessible::Role role);

} // namespace ternvault

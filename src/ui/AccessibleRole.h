#pragma once

#include <QAccessible>

class QWidget;

namespace ternvault {

/// Tells assistive technology that `widget` is more than its class says. Its name is its accessible name.
/// Comes first of what assistive technology is told of the widget: naming it settles the role.
void setAccessibleRole(QWidget& widget, QAccessible::Role role);

} // namespace ternvault

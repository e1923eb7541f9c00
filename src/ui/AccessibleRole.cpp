#include "ui/AccessibleRole.h"

#include <QAccessibleWidget>
#include <QVariant>
#include <QWidget>

namespace ternvault {

namespace {

constexpr auto roleProperty = "accessibleRole";

QAccessibleInterface* interfaceWithRole(const QString&, QObject* object) {
    const QVariant role = object->property(roleProperty);
    if (!role.isValid())
        return nullptr;
    return new QAccessibleWidget(static_cast<QWidget*>(object), static_cast<QAccessible::Role>(role.toInt()));
}

} // namespace

void setAccessibleRole(QWidget& widget, QAccessible::Role role) {
    QAccessible::installFactory(interfaceWithRole);
    widget.setProperty(roleProperty, static_cast<int>(role));
}

} // namespace ternvault

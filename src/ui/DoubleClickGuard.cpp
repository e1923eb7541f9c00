#include "ui/DoubleClickGuard.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMouseEvent>
#include <QStyleHints>

#include <algorithm>

namespace ternvault {

DoubleClickGuard::DoubleClickGuard(QApplication& application) {
    application.installEventFilter(this);
}

bool DoubleClickGuard::eventFilter(QObject* object, QEvent* event) {
    const bool isPress =
        event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseButtonDblClick;
    if (!isPress || !object->isWidgetType())
        return false;
    return isStray(static_cast<QWidget&>(*object), static_cast<const QMouseEvent&>(*event));
}

bool DoubleClickGuard::isStray(QWidget& target, const QMouseEvent& press) {
    // What a widget does not take goes on to the one around it.
    if (press.timestamp() == latest_)
        return isStray_;
    latest_ = press.timestamp();
    const auto interval =
        static_cast<unsigned long>(QGuiApplication::styleHints()->mouseDoubleClickInterval());
    const bool goesOn = first_ && *latest_ - *first_ < interval;
    const auto stoodThere = [&target, place = press.globalPosition().toPoint()](const Button& button) {
        return button.widget == &target && button.place.contains(place);
    };
    if (!goesOn) {
        first_ = latest_;
        buttons_ = shownButtons();
    }
    isStray_ = goesOn && qobject_cast<QAbstractButton*>(&target) != nullptr &&
               std::none_of(buttons_.begin(), buttons_.end(), stoodThere);
    return isStray_;
}

std::vector<DoubleClickGuard::Button> DoubleClickGuard::shownButtons() {
    std::vector<Button> buttons;
    for (const QWidget* const widget : QApplication::allWidgets()) {
        if (widget->isVisible() && qobject_cast<const QAbstractButton*>(widget) != nullptr)
            buttons.push_back({widget, {widget->mapToGlobal(QPoint()), widget->size()}});
    }
    return buttons;
}

} // namespace ternvault

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
    if (press.timestamp() == time_)
        return isStray_;
    const auto interval =
        static_cast<unsigned long>(QGuiApplication::styleHints()->mouseDoubleClickInterval());
    const bool goesOn = time_ && press.timestamp() - *time_ < interval;
    const auto stoodThere = [&target, place = press.globalPosition().toPoint()](const Button& button) {
        return button.widget == &target && button.place.contains(place);
    };
    isStray_ = goesOn && qobject_cast<QAbstractButton*>(&target) != nullptr &&
               std::none_of(buttons_.begin(), buttons_.end(), stoodThere);
    time_ = press.timestamp();
    if (!goesOn)
        buttons_ = buttonsOf(*target.window());
    return isStray_;
}

std::vector<DoubleClickGuard::Button> DoubleClickGuard::buttonsOf(const QWidget& window) {
    std::vector<Button> buttons;
    for (const QAbstractButton* const button : window.findChildren<QAbstractButton*>()) {
        if (button->isVisible())
            buttons.push_back({button, {button->mapToGlobal(QPoint()), button->size()}});
    }
    return buttons;
}

} // namespace ternvault

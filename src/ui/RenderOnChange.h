#pragma once

#include "base/ObservableObject.h"

#include <QTimer>

#include <functional>

namespace ternvault {

/// Renders a view on the next turn of the main loop after its model changed, once for all changes of a turn.
class RenderOnChange {
public:
    RenderOnChange(ObservableObject& model, const std::function<void()>& render)
        : changes_(model.objectWillChange.subscribe([this] { turn_.start(); })) {
        turn_.setSingleShot(true);
        turn_.setInterval(0);
        turn_.callOnTimeout([render] { render(); });
    }

private:
    QTimer turn_;
    Subscription changes_;
};

} // namespace ternvault

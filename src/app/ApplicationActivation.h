#pragma once

#include "platform/Activation.h"

#include <QPointer>
#include <QWidget>

namespace ternvault {

/// Brings the application's window to the front. A window that is closed stays closed.
class ApplicationActivation final : public Activation {
public:
    void setWindow(QWidget& window) { window_ = &window; }

    void activate() override;

private:
    QPointer<QWidget> window_;
};

} // namespace ternvault

#pragma once

#include "platform/Activation.h"

#include <QPointer>
#include <QWidget>

namespace ternvault {

/// Brings the application's window to the front. A window that is closed stays closed;
/// another one that is open then stands for it.
class ApplicationActivation final : public Activation {
public:
    void setWindow(QWidget& window) { window_ = &window; }

    void activate() override;

private:
    QWidget* topmost() const;

    QPointer<QWidget> window_;
};

} // namespace ternvault

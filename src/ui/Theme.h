#pragma once

#include "base/Signal.h"
#include "platform/Appearance.h"

#include <QObject>

class QApplication;

namespace ternvault {

/// The look of the whole application: style, palette, fonts and style sheet. Follows the desktop's light or
/// dark appearance and the user's font while it runs.
///
/// Sizes of the layout are points of the reference platform, which are device-independent pixels. Its text
/// sizes are proportions of the body's 13 points, and the body is the user's own font, but never less than
/// that.
class Theme final : public QObject {
public:
    Theme(QApplication& application, Appearance& appearance);

private:
    bool eventFilter(QObject* object, QEvent* event) override;
    void apply();

    QApplication& application_;
    Appearance& appearance_;
    QString titleFamily_;
    Subscription appearanceChanges_;
};

} // namespace ternvault

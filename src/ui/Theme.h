#pragma once

#include "base/Signal.h"
#include "platform/Appearance.h"

#include <QObject>

class QApplication;
class QFont;

namespace ternvault {

/// The look of the whole application: style, palette and fonts. Follows the desktop's light or dark
/// appearance and the user's font while it runs.
///
/// Sizes of the layout are points of the reference platform, which are device-independent pixels. Its text
/// sizes are proportions of the body's 13 points, and the body is the user's own font, but never less than
/// that.
class Theme final : public QObject {
public:
    Theme(QApplication& application, Appearance& appearance);

private:
    bool eventFilter(QObject* object, QEvent* event) override;

    QApplication& application_;
    Subscription appearanceChanges_;
};

} // namespace ternvault

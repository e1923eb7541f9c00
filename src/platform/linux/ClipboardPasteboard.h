#pragma once

#include "platform/linux/SelectionPasteboard.h"

#include <QClipboard>
#include <QDeadlineTimer>
#include <QHash>
#include <QObject>

namespace ternvault {

/// The desktop's clipboard. Main thread, within the life of the QGuiApplication. Reading waits for the
/// program that copied, up to the 5 s that Qt gives it; one that let them pass is asked again half a minute
/// later. Empty while it is hidden.
class ClipboardPasteboard final : public SelectionPasteboard {
public:
    explicit ClipboardPasteboard(const QClipboard& clipboard);

    /// Wayland tells only the application in front what was copied; what another one knows may be out of
    /// date.
    static bool isHidden();

private:
    QByteArray content(const QString& mimeType) const override;

    const QClipboard& clipboard_;
    /// What was read since something was copied, by format.
    mutable QHash<QString, QByteArray> read_;
    mutable QDeadlineTimer askAgainAt_;
    /// Ends the connection to the clipboard.
    QObject context_;
};

} // namespace ternvault

#include "platform/linux/ClipboardPasteboard.h"

#include <QMimeData>

namespace ternvault {

ClipboardPasteboard::ClipboardPasteboard(const QClipboard& clipboard) : clipboard_(clipboard) {
    QObject::connect(&clipboard, &QClipboard::dataChanged, &context_, [this] { changed.emit(); });
}

QByteArray ClipboardPasteboard::content(const QString& mimeType) const {
    const QMimeData* const data = clipboard_.mimeData();
    return data != nullptr ? data->data(mimeType) : QByteArray();
}

} // namespace ternvault

#include "platform/linux/ClipboardPasteboard.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QMimeData>

#include <chrono>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

/// What took longer ran into Qt's own time-out.
constexpr std::chrono::milliseconds patience(4000);
/// So that one who hangs does not hold the window up at each question.
constexpr std::chrono::seconds pauseAfterTimeout(30);

} // namespace

ClipboardPasteboard::ClipboardPasteboard(const QClipboard& clipboard) : clipboard_(clipboard) {
    QObject::connect(&clipboard, &QClipboard::dataChanged, &context_, [this] {
        read_.clear();
        askAgainAt_ = QDeadlineTimer();
    });
}

bool ClipboardPasteboard::isHidden() {
    return QGuiApplication::platformName().startsWith("wayland"_L1) &&
           QGuiApplication::applicationState() != Qt::ApplicationActive;
}

QByteArray ClipboardPasteboard::content(const QString& mimeType) const {
    if (isHidden())
        return {};
    if (!askAgainAt_.hasExpired() || read_.contains(mimeType))
        return read_.value(mimeType);
    QElapsedTimer waiting;
    waiting.start();
    const QMimeData* const data = clipboard_.mimeData();
    QByteArray content = data != nullptr ? data->data(mimeType) : QByteArray();
    if (waiting.hasExpired(patience.count()))
        askAgainAt_.setRemainingTime(pauseAfterTimeout);
    if (!content.isEmpty())
        read_.insert(mimeType, content);
    return content;
}

} // namespace ternvault

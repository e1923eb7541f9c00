#include "app/AnnouncedPaste.h"

#include "async/Await.h"
#include "platform/linux/ClipboardPasteboard.h"

#include <QApplication>

namespace ternvault {

namespace {

/// What a window manager takes at most to make a window active.
constexpr std::chrono::milliseconds moment(500);

bool isActive() {
    return QApplication::activeWindow() != nullptr;
}

} // namespace

Task<> AnnouncedPaste::pasteFromClipboard() {
    if (ClipboardPasteboard::isHidden())
        co_await sleepFor(mainLoop_, moment);
    co_await model_.pasteFromClipboard();
    const QString outcome = model_.status;
    if (!isActive())
        co_await sleepFor(mainLoop_, moment);
    if (!isActive())
        notification_.show(outcome);
}

} // namespace ternvault

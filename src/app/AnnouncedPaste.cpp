#include "app/AnnouncedPaste.h"

#include "async/Await.h"
#include "platform/linux/ClipboardPasteboard.h"

#include <QApplication>

namespace ternvault {

namespace {

/// What a window manager takes at most to make a window active.
constexpr std::chrono::milliseconds moment(500);

/// What a desktop takes at most to open a window, and to make it active.
constexpr std::chrono::seconds opening(3);

/// Until the clipboard is told.
Task<> waitToBeActive(MainLoop& mainLoop) {
    const WakeUp active;
    const std::unique_ptr<Timer> timeout = mainLoop.after(opening, active.waker());
    const auto connection =
        QObject::connect(qApp, &QGuiApplication::applicationStateChanged, qApp, active.waker());
    co_await active;
    QObject::disconnect(connection);
}

bool isActive() {
    return QApplication::activeWindow() != nullptr;
}

} // namespace

Task<> AnnouncedPaste::pasteFromClipboardInto(std::filesystem::path folder) {
    if (ClipboardPasteboard::isHidden())
        co_await waitToBeActive(mainLoop_);
    co_await model_.pasteFromClipboardInto(folder);
    const QString outcome = model_.status;
    if (!isActive())
        co_await sleepFor(mainLoop_, moment);
    if (!isActive())
        notification_.show(outcome);
}

} // namespace ternvault

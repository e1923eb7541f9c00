#include "app/AnnouncedPaste.h"

#include "async/Await.h"
#include "platform/linux/ClipboardPasteboard.h"

#include <QApplication>

namespace ternvault {

namespace {

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

} // namespace

Task<> AnnouncedPaste::pasteFromClipboardInto(std::filesystem::path folder) {
    if (ClipboardPasteboard::isHidden())
        co_await waitToBeActive(mainLoop_);
    co_await model_.pasteFromClipboardInto(folder);
    Task<> telling = notice_.tell(model_.status);
    co_await std::move(telling);
}

} // namespace ternvault

#include "app/AnnouncedPaste.h"

#include "async/Await.h"

#include <QApplication>

namespace ternvault {

namespace {

/// What a window manager takes at most to make a window active.
constexpr std::chrono::milliseconds moment(500);

} // namespace

Task<> AnnouncedPaste::pasteFromClipboard() {
    co_await model_.pasteFromClipboard();
    const QString outcome = model_.status;
    if (QApplication::activeWindow() == nullptr)
        co_await sleepFor(mainLoop_, moment);
    if (QApplication::activeWindow() == nullptr)
        notification_.show(outcome);
}

} // namespace ternvault

#include "app/OutcomeNotice.h"

#include "async/Await.h"
#include "ui/ShortenedText.h"

#include <QApplication>

namespace ternvault {

namespace {

/// What a window manager takes at most to make a window active.
constexpr std::chrono::milliseconds moment(500);

bool isActive() {
    return QApplication::activeWindow() != nullptr;
}

} // namespace

Task<> OutcomeNotice::tell(QString outcome) const {
    if (!isActive())
        co_await sleepFor(mainLoop_, moment);
    if (!isActive())
        notification_.show(shortened(outcome));
}

} // namespace ternvault

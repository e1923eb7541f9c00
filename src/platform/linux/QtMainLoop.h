#pragma once

#include "platform/MainLoop.h"

#include <QObject>

#include <mutex>
#include <queue>

namespace ternvault {

/// The main loop over Qt's event loop. Constructed on the main thread after the QCoreApplication, destroyed
/// before it and after everything that still posts; work that has not run by then is dropped. Timers, input
/// and drawing get their turn between any two pieces of work.
class QtMainLoop final : public MainLoop, private QObject {
public:
    void post(std::function<void()> work) override;
    std::unique_ptr<Timer> after(std::chrono::milliseconds delay, std::function<void()> action) override;
    std::unique_ptr<Timer> every(std::chrono::milliseconds interval, std::function<void()> action) override;

private:
    bool event(QEvent* event) override;
    void wakeUp();

    /// The work itself: a lock of our own hands it from thread to thread, which ThreadSanitizer can follow.
    /// While there is any, one Qt event is on its way.
    std::mutex mutex_;
    std::queue<std::function<void()>> posted_;
};

} // namespace ternvault

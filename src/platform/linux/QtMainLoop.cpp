#include "platform/linux/QtMainLoop.h"

#include <QCoreApplication>
#include <QEvent>
#include <QTimer>

#include <utility>

namespace ternvault {

namespace {

class QtTimer final : public Timer {
public:
    QtTimer(std::chrono::milliseconds interval, bool singleShot, std::function<void()> action) {
        timer_.setTimerType(Qt::PreciseTimer);
        timer_.setSingleShot(singleShot);
        timer_.callOnTimeout(&timer_, std::move(action));
        timer_.start(interval);
    }

private:
    QTimer timer_;
};

} // namespace

void QtMainLoop::post(std::function<void()> work) {
    const std::lock_guard lock(mutex_);
    posted_.push(std::move(work));
    if (posted_.size() == 1)
        wakeUp();
}

/// Qt hands out all events that are posted by then before it looks at timers and input again. So there is one
/// on its way at a time, and a hundred pieces of work are a hundred turns.
void QtMainLoop::wakeUp() {
    QCoreApplication::postEvent(this, new QEvent(QEvent::User));
}

bool QtMainLoop::event(QEvent* event) {
    std::unique_lock lock(mutex_);
    if (event->type() != QEvent::User) {
        lock.unlock();
        return QObject::event(event);
    }
    const std::function<void()> work = std::move(posted_.front());
    posted_.pop();
    // Before the work, which may turn the loop itself.
    if (!posted_.empty())
        wakeUp();
    lock.unlock();
    work();
    return true;
}

std::unique_ptr<Timer> QtMainLoop::after(std::chrono::milliseconds delay, std::function<void()> action) {
    return std::make_unique<QtTimer>(delay, true, std::move(action));
}

std::unique_ptr<Timer> QtMainLoop::every(std::chrono::milliseconds interval, std::function<void()> action) {
    return std::make_unique<QtTimer>(interval, false, std::move(action));
}

} // namespace ternvault

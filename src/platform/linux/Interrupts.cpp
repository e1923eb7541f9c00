#include "platform/linux/Interrupts.h"

#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>

#include <sys/eventfd.h>
#include <unistd.h>

namespace ternvault {

namespace {

constexpr std::array<int, 3> signals{SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t wakeDescriptor = -1;
/// What was done about them.
std::array<struct sigaction, signals.size()> before;

void restore() {
    for (std::size_t i = 0; i < signals.size(); ++i)
        ::sigaction(signals[i], &before[i], nullptr);
}

/// Only the first signal is ours.
void onSignal(int) {
    const int error = errno;
    restore();
    const eventfd_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(wakeDescriptor, &one, sizeof one);
    errno = error;
}

/// A signal that is ignored, as under nohup, stays so.
void handle() {
    struct sigaction action {};
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < signals.size(); ++i) {
        ::sigaction(signals[i], nullptr, &before[i]);
        if (before[i].sa_handler != SIG_IGN)
            ::sigaction(signals[i], &action, nullptr);
    }
}

} // namespace

Interrupts::Interrupts(std::function<void()> onFirst)
    : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      notifier_(std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read)) {
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [this, onFirst = std::move(onFirst)] {
                         notifier_->setEnabled(false);
                         onFirst();
                     });
    wakeDescriptor = descriptor_;
    handle();
}

Interrupts::~Interrupts() {
    restore();
    wakeDescriptor = -1;
    notifier_.reset();
    ::close(descriptor_);
}

} // namespace ternvault

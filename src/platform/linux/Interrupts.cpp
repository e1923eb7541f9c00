#include "platform/linux/Interrupts.h"

#include <QSocketNotifier>

#include <algorithm>

#include <sys/eventfd.h>
#include <unistd.h>

namespace ternvault {

namespace {

constexpr std::array<int, 3> signals{SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t wakeDescriptor = -1;

void onSignal(int) {
    const eventfd_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(wakeDescriptor, &one, sizeof one);
}

/// Only the first signal is ours: the kernel then puts the default action back. One that is ignored, as under
/// nohup, stays so. Returns what was done before.
struct sigaction handleOnce(int signal) {
    struct sigaction action {};
    action.sa_handler = onSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    struct sigaction before {};
    ::sigaction(signal, &action, &before);
    if (before.sa_handler == SIG_IGN)
        ::sigaction(signal, &before, nullptr);
    return before;
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
    std::ranges::transform(signals, before_.begin(), handleOnce);
}

Interrupts::~Interrupts() {
    for (std::size_t i = 0; i < signals.size(); ++i)
        ::sigaction(signals[i], &before_[i], nullptr);
    wakeDescriptor = -1;
    notifier_.reset();
    ::close(descriptor_);
}

} // namespace ternvault

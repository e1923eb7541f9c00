#include "cli/Interrupts.h"

#include <QSocketNotifier>

#include <csignal>

#include <sys/eventfd.h>
#include <unistd.h>

namespace ternvault::cli {

namespace {

volatile std::sig_atomic_t wakeDescriptor = -1;

void onSignal(int) {
    const eventfd_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(wakeDescriptor, &one, sizeof one);
}

/// Only the first signal is ours: the kernel then puts the default action back.
void handleOnce(int signal) {
    struct sigaction action {};
    action.sa_handler = onSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    ::sigaction(signal, &action, nullptr);
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
    handleOnce(SIGINT);
    handleOnce(SIGTERM);
}

Interrupts::~Interrupts() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    wakeDescriptor = -1;
    notifier_.reset();
    ::close(descriptor_);
}

} // namespace ternvault::cli

#pragma once

#include <functional>
#include <memory>

class QSocketNotifier;

namespace ternvault {

/// Turns the first SIGINT, SIGTERM or SIGHUP into a call on the main thread; a second one, whichever, ends
/// the process at once. One object at a time.
class Interrupts {
public:
    explicit Interrupts(std::function<void()> onFirst);
    ~Interrupts();
    Interrupts(const Interrupts&) = delete;
    Interrupts& operator=(const Interrupts&) = delete;

private:
    int descriptor_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace ternvault

#pragma once

#include <functional>
#include <memory>

class QSocketNotifier;

namespace ternvault::cli {

/// Turns the first SIGINT or SIGTERM into a call on the main thread; a second one ends the process at once.
/// One object at a time.
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

} // namespace ternvault::cli

#include "base/Signal.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace ternvault {

TEST(Signal, SurvivesSubscriptionsThatEndOrBeginDuringAnEmission) {
    std::vector<std::string> called;
    auto signal = std::make_unique<Signal>();
    Subscription second, late;
    Subscription first = signal->subscribe([&] {
        called.push_back("first");
        second = Subscription();
        first = Subscription();
        late = signal->subscribe([&] { called.push_back("late"); });
    });
    second = signal->subscribe([&] { called.push_back("second"); });
    const Subscription third = signal->subscribe([&] { called.push_back("third"); });
    signal->emit();
    signal->emit();
    EXPECT_EQ(called, (std::vector<std::string>{"first", "third", "third", "late"}));
    signal.reset(); // handles may outlive the signal
}

} // namespace ternvault

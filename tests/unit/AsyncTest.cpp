#include "async/Await.h"
#include "async/TaskScope.h"
#include "support/FakePlatform.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace ternvault::test {

struct Async : testing::Test {
    VirtualTime time;
    std::vector<std::string> events;
    std::optional<TaskScope> scope{std::in_place, time,
                                   [this](const std::exception_ptr&) { events.push_back("escaped"); }};

    Task<> compute(int value) {
        auto work = [value] { return value < 0 ? throw std::runtime_error("negative") : value * 2; };
        events.push_back(std::to_string(co_await inBackground(time, time, Lane::general, std::move(work))));
    }
    Task<> nap(std::shared_ptr<int>) {
        co_await sleepFor(time, 500ms);
        events.push_back("woke");
    }
};

TEST_F(Async, ResultsReachTheAwaiterAndEscapesAreReported) {
    scope->spawn(compute(-1));
    scope->spawn(compute(21));
    EXPECT_EQ(time.backgroundCount(), 0u) << "a spawned routine starts on a later turn";
    time.run();
    EXPECT_EQ(events, (std::vector<std::string>{"escaped", "42"}));
    EXPECT_TRUE(scope->isEmpty());
}

TEST_F(Async, AScopeDestroysItsSuspendedFramesAndLateWakersDoNothing) {
    const auto held = std::make_shared<int>(1);
    scope->spawn(nap(held));
    scope->spawn(compute(3));
    time.holdBackground = true;
    time.run();
    EXPECT_EQ(held.use_count(), 2);
    scope.reset();
    EXPECT_EQ(held.use_count(), 1);
    time.holdBackground = false;
    time.advance(1s);
    EXPECT_TRUE(events.empty());
}

} // namespace ternvault::test

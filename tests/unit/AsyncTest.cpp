#include "async/Await.h"
#include "async/TaskScope.h"
#include "support/FakePlatform.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace ternvault::test {

struct Async : testing::Test {
    VirtualTime time;
    std::vector<std::string> events;
    std::optional<TaskScope> scope{std::in_place, time, [this](std::exception_ptr escaped) {
                                       try {
                                           std::rethrow_exception(escaped);
                                       } catch (const std::exception& error) {
                                           events.push_back(error.what());
                                       }
                                   }};

    Task<int> compute(int value) {
        auto work = [value] {
            if (value < 0)
                throw std::runtime_error("negative");
            return value * 2;
        };
        co_return co_await inBackground(time, time, Lane::general, std::move(work));
    }
    Task<> record(int value) {
        events.push_back("started");
        events.push_back(std::to_string(co_await compute(value)));
    }
    Task<> nap(std::shared_ptr<int> held) {
        co_await sleepFor(time, 500ms);
        events.push_back("woke " + std::to_string(*held));
    }
};

TEST_F(Async, ResultsAndExceptionsReachTheAwaiterAndEscapesAreReported) {
    scope->spawn(record(21));
    EXPECT_TRUE(events.empty()) << "a spawned routine starts on a later turn";
    time.run();
    scope->spawn(record(-1));
    time.run();
    EXPECT_EQ(events, (std::vector<std::string>{"started", "42", "started", "negative"}));
    EXPECT_TRUE(scope->isEmpty());
}

TEST_F(Async, AScopeDestroysItsSuspendedFramesAndLateWakersDoNothing) {
    const auto held = std::make_shared<int>(1);
    scope->spawn(nap(held));
    scope->spawn(record(3));
    time.holdBackground = true;
    time.run();
    EXPECT_EQ(held.use_count(), 2);
    scope.reset();
    EXPECT_EQ(held.use_count(), 1);
    time.holdBackground = false;
    time.advance(1s);
    EXPECT_EQ(events, std::vector<std::string>{"started"});
}

} // namespace ternvault::test

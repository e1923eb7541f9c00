#include "platform/linux/ThreadBackgroundTasks.h"

#include <gtest/gtest.h>

#include <future>
#include <sys/resource.h>
#include <unistd.h>

namespace ternvault {

using namespace std::chrono_literals;

TEST(BackgroundTasks, UtilityWorkRunsOneAtATimeInOrderAtLowPriority) {
    ThreadBackgroundTasks background;
    std::vector<int> order;
    std::vector<std::thread::id> threads;
    int nice = 0;
    std::promise<void> done;
    for (int i = 0; i < 100; ++i)
        background.run(Lane::utility, [&, i] {
            order.push_back(i);
            threads.push_back(std::this_thread::get_id());
            nice = ::getpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()));
            if (i == 99)
                done.set_value();
        });
    done.get_future().wait();
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
    EXPECT_EQ(std::count(threads.begin(), threads.end(), threads.front()), 100);
    EXPECT_GT(nice, ::getpriority(PRIO_PROCESS, static_cast<id_t>(::getpid())));
}

TEST(BackgroundTasks, OneHungProgramHoldsUpNoOtherWorkAndEndingDropsWhatWaits) {
    std::promise<void> started, release, meanwhile;
    bool ran = false, droppedRan = false;
    {
        ThreadBackgroundTasks background;
        const auto hang = [&, released = release.get_future().share()] { released.wait(); };
        background.run(Lane::utility, [&, hang] {
            started.set_value();
            hang();
            ran = true;
        });
        background.run(Lane::utility, [&] { droppedRan = true; });
        background.run(Lane::general, hang);
        background.run(Lane::general, [&] { meanwhile.set_value(); });
        started.get_future().wait();
        meanwhile.get_future().wait();
        EXPECT_FALSE(background.finishWithin(0ms));
        release.set_value();
        EXPECT_TRUE(background.finishWithin(1min));
        background.run(Lane::general, [&] { droppedRan = true; });
    }
    EXPECT_TRUE(ran);
    EXPECT_FALSE(droppedRan);
}

} // namespace ternvault

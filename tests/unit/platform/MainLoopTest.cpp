#include "platform/linux/QtMainLoop.h"

#include <QEventLoop>

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

namespace ternvault {

using namespace std::chrono_literals;

TEST(MainLoop, RunsPostsOfAllThreadsInOrderOnTheMainThread) {
    QtMainLoop mainLoop;
    QEventLoop loop;
    constexpr int posts = 1000;
    std::vector<int> seen[2];
    int onOtherThread = 0;
    const auto mainThread = std::this_thread::get_id();
    const auto postAll = [&](int from) {
        for (int i = 0; i < posts; ++i)
            mainLoop.post([&, from, i] {
                seen[from].push_back(i);
                onOtherThread += std::this_thread::get_id() != mainThread;
                if (seen[0].size() + seen[1].size() == 2 * posts)
                    loop.quit();
            });
    };
    std::thread other(postAll, 1);
    postAll(0);
    EXPECT_TRUE(seen[0].empty()) << "posted work ran inside post";
    loop.exec();
    other.join();
    for (const auto& order : seen) {
        ASSERT_EQ(order.size(), std::size_t{posts});
        EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
    }
    EXPECT_EQ(onOtherThread, 0);
}

TEST(MainLoop, TimersGetTheirTurnBetweenManyPosts) {
    QtMainLoop mainLoop;
    QEventLoop loop;
    int pieces = 0;
    int piecesAtFirstBeat = 100;
    const auto beat = mainLoop.every(2ms, [&] { piecesAtFirstBeat = std::min(piecesAtFirstBeat, pieces); });
    for (int i = 0; i < 100; ++i) {
        mainLoop.post([&] {
            const auto end = std::chrono::steady_clock::now() + 1ms;
            while (std::chrono::steady_clock::now() < end)
                std::this_thread::yield();
            ++pieces;
        });
    }
    mainLoop.post([&] { loop.quit(); });
    loop.exec();
    EXPECT_LT(piecesAtFirstBeat, 50);
}

TEST(MainLoop, PostedWorkNeitherStarvesTimersNorIsHeldUpByANestedLoop) {
    QtMainLoop mainLoop;
    QEventLoop loop;
    bool timerFired = false;
    bool nestedRan = false;
    const auto timer = mainLoop.after(1ms, [&] { timerFired = true; });
    std::function<void()> again = [&] { timerFired&& nestedRan ? loop.quit() : mainLoop.post(again); };
    mainLoop.post([&] {
        QEventLoop nested;
        mainLoop.post([&] {
            nestedRan = true;
            nested.quit();
        });
        nested.exec();
    });
    mainLoop.post(again);
    loop.exec();
    EXPECT_TRUE(timerFired && nestedRan);
}

TEST(MainLoop, TimersRepeatEndWithTheirHandleAndMayDestroyThemselves) {
    QtMainLoop mainLoop;
    QEventLoop loop;
    int ticks = 0;
    bool cancelledFired = false;
    auto cancelled = mainLoop.after(0ms, [&] { cancelledFired = true; });
    cancelled.reset();
    std::unique_ptr<Timer> repeating = mainLoop.every(1ms, [&, keptUntilReturn = std::vector<int>(64, 1)] {
        if (++ticks == 3)
            repeating.reset();
        ASSERT_EQ(keptUntilReturn.back(), 1);
    });
    const auto end = mainLoop.after(30ms, [&] { loop.quit(); });
    loop.exec();
    EXPECT_EQ(ticks, 3);
    EXPECT_FALSE(cancelledFired);
}

TEST(MainLoop, DropsWhatHasNotRunWhenItEnds) {
    const auto owned = std::make_shared<int>(0);
    {
        QtMainLoop mainLoop;
        mainLoop.post([owned] { ++*owned; });
    }
    QEventLoop().processEvents();
    EXPECT_EQ(*owned, 0);
    EXPECT_EQ(owned.use_count(), 1);
}

} // namespace ternvault

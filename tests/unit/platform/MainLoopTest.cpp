#include "platform/linux/QtMainLoop.h"

#include <QElapsedTimer>
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
    const auto mainThread = std::this_thread::get_id();
    const auto postAll = [&](int from) {
        for (int i = 0; i < posts; ++i)
            mainLoop.post([&, from, i] {
                seen[from].push_back(i);
                EXPECT_EQ(std::this_thread::get_id(), mainThread);
                if (seen[0].size() + seen[1].size() == 2 * posts)
                    loop.quit();
            });
    };
    std::thread other(postAll, 1);
    postAll(0);
    EXPECT_TRUE(seen[0].empty()) << "posted work ran inside post";
    loop.exec();
    other.join();
    for (const auto& order : seen)
        EXPECT_TRUE(order.size() == posts && std::ranges::is_sorted(order));
}

TEST(MainLoop, TimersGetTheirTurnBetweenManyPosts) {
    QtMainLoop mainLoop;
    QEventLoop loop;
    int pieces = 0, piecesAtFirstBeat = 100;
    const auto beat = mainLoop.every(2ms, [&] { piecesAtFirstBeat = std::min(piecesAtFirstBeat, pieces); });
    for (int i = 0; i < 100; ++i)
        mainLoop.post([&] {
            QElapsedTimer piece;
            for (piece.start(); piece.nsecsElapsed() < 1'000'000;) {
            }
            ++pieces;
        });
    mainLoop.post([&] { loop.quit(); });
    loop.exec();
    EXPECT_LT(piecesAtFirstBeat, 50);
}

TEST(MainLoop, PostedWorkIsNotHeldUpByANestedLoop) {
    QtMainLoop mainLoop;
    QEventLoop loop;
    mainLoop.post([&] {
        QEventLoop nested;
        mainLoop.post([&] { nested.quit(); });
        nested.exec();
        loop.quit();
    });
    loop.exec();
}

TEST(MainLoop, TimersRepeatEndWithTheirHandleAndMayDestroyThemselves) {
    QtMainLoop mainLoop;
    QEventLoop loop;
    int ticks = 0;
    mainLoop.after(0ms, [&] { ADD_FAILURE() << "its handle is gone"; });
    std::unique_ptr<Timer> repeating = mainLoop.every(1ms, [&, keptUntilReturn = std::vector<int>(64, 1)] {
        if (++ticks == 3)
            repeating.reset();
        ASSERT_EQ(keptUntilReturn.back(), 1);
    });
    const auto end = mainLoop.after(30ms, [&] { loop.quit(); });
    loop.exec();
    EXPECT_EQ(ticks, 3);
}

} // namespace ternvault

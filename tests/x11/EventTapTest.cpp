#include "platform/KeyNumbers.h"
#include "platform/linux/X11EventTap.h"
#include "support/ForeignWindow.h"

#include <gmock/gmock.h>

#include <sys/socket.h>

#include <cstdlib>
#include <future>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace ternvault {

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using x11::TapRefusal;

using Key = xcb_keycode_t;
constexpr Key control = 37, shift = 50, alt = 64, c = 54, v = 55, x = 53, period = 60;
constexpr std::uint8_t capsLock = XCB_MOD_MASK_LOCK, numLock = XCB_MOD_MASK_2;
constexpr auto patience = 5s;
/// Other tests run meanwhile; the benchmark knows the bare limit.
constexpr auto busyMachine = 100ms;
/// Repetitions come every 20 ms.
constexpr auto manyRepetitions = 300ms;

class EventTapTest : public testing::Test {
protected:
    EventTapTest() {
        window.lock(0);
        const std::uint8_t allKeys[32] = {};
        xcb_xkb_set_controls(window.display(), XCB_XKB_ID_USE_CORE_KBD, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0,
                             XCB_XKB_BOOL_CTRL_REPEAT_KEYS, 50, 20, 1, 1, 1, 1, 1, 1, 0, 1, 0, 0, 0, 0,
                             allKeys);
        window.sync();
    }
    ~EventTapTest() override {
        tap.stop();
        if (runner.joinable())
            runner.join();
        for (const Key key : {control, shift, alt, c, v, x, period})
            window.release(key);
        giveUpGrabs();
    }

    void act(EventTap::Callback callback) {
        const std::lock_guard lock(mutex);
        callback_ = std::move(callback);
    }
    bool run() {
        return tap.run(1U << event_types::keyDown, [this](const TappedEvent& event) {
            ++asked;
            std::unique_lock lock(mutex);
            const EventTap::Callback callback = callback_;
            lock.unlock();
            callback(event);
        });
    }
    /// Returns once the tap works.
    void start() {
        runner = std::thread([this] { result(); });
        awaitTapOf(v);
    }
    void awaitTapOf(Key key) {
        act([](const TappedEvent&) {});
        const auto deadline = ForeignWindow::Clock::now() + patience;
        for (asked = 0; asked == 0 && ForeignWindow::Clock::now() < deadline;)
            arrivedOf(key);
        EXPECT_GT(asked, 0);
        asked = 0;
        act([this](const TappedEvent& event) { swallowed = event.swallow(); });
    }

    void paste(Key key = v) {
        window.press(control);
        window.type(key);
        window.release(control);
    }
    /// The keys that have reached the window, judged by one that follows them.
    std::vector<Key> arrived() {
        window.type(x);
        std::vector<Key> keys;
        while (const auto key = nextKey(patience)) {
            if (*key == x)
                return keys;
            keys.push_back(*key);
        }
        ADD_FAILURE() << "keys are held up";
        return keys;
    }
    std::vector<Key> arrivedOf(Key pasted) {
        paste(pasted);
        return arrived();
    }
    std::optional<Key> nextKey(std::chrono::milliseconds time) {
        while (const auto arrival = window.next(time)) {
            if (arrival->key != control && arrival->key != shift && arrival->key != alt)
                return arrival->key;
        }
        return std::nullopt;
    }
    bool grabsByItself(std::uint16_t modifiers) {
        const auto request = xcb_grab_key_checked(window.display(), 0, window.root(), modifiers, v,
                                                  XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        return x11::Owned<xcb_generic_error_t>(xcb_request_check(window.display(), request)) == nullptr;
    }
    void giveUpGrabs() {
        xcb_ungrab_key(window.display(), v, window.root(), XCB_MOD_MASK_ANY);
        window.sync();
    }

    ForeignWindow& window = sharedWindow();
    X11EventTap tap;
    std::packaged_task<bool()> result{[this] { return run(); }};
    std::atomic<int> asked = 0;
    std::atomic<bool> swallowed = false;
    std::mutex mutex;
    std::thread runner;

private:
    /// A window manager would take the focus back from each new one, some time after the one before has gone.
    static ForeignWindow& sharedWindow() {
        static ForeignWindow window;
        return window;
    }

    EventTap::Callback callback_;
};

TEST_F(EventTapTest, LetsThroughOnceWhatIsNotSwallowed) {
    start();
    std::promise<TappedEvent> seen;
    act([&](const TappedEvent& event) { seen.set_value(event); });
    EXPECT_THAT(arrivedOf(v), ElementsAre(v));
    const TappedEvent event = seen.get_future().get();
    EXPECT_EQ(event.type, event_types::keyDown);
    EXPECT_EQ(event.flags, key_flags::command);
    EXPECT_EQ(event.keyCode, key_codes::v);
    EXPECT_FALSE(event.swallow());
}

TEST_F(EventTapTest, SwallowsAKeyWithItsRepetitionsAndNothingElse) {
    start();
    act([](const TappedEvent&) {});
    window.press(control);
    window.press(v);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(nextKey(patience), v) << "keys do not repeat on this server";
    window.release(v);
    window.release(control);
    arrived();
    act([this](const TappedEvent& event) { swallowed = event.swallow(); });
    asked = 0;

    window.press(control);
    window.press(v);
    EXPECT_EQ(nextKey(manyRepetitions), std::nullopt);
    window.release(control);
    EXPECT_EQ(nextKey(manyRepetitions), std::nullopt);
    window.type(c);
    EXPECT_EQ(nextKey(patience), c);
    window.release(v);
    EXPECT_THAT(arrived(), IsEmpty());
    EXPECT_TRUE(swallowed);
    EXPECT_EQ(asked, 1);

    window.press(control);
    window.press(v);
    paste(c);
    window.release(v);
    EXPECT_THAT(arrived(), ElementsAre(c));
    EXPECT_EQ(asked, 2);
}

TEST_F(EventTapTest, WorksWhateverLocksAreOn) {
    start();
    std::uint32_t flags = 0;
    act([&](const TappedEvent& event) {
        flags = event.flags;
        event.swallow();
    });
    for (const std::uint8_t locks : {capsLock, numLock, std::uint8_t(capsLock | numLock)}) {
        window.lock(locks);
        EXPECT_THAT(arrivedOf(v), IsEmpty());
    }
    EXPECT_EQ(asked, 3);
    EXPECT_EQ(flags, key_flags::command | key_flags::capsLock);
}

TEST_F(EventTapTest, LeavesOtherKeysAlone) {
    start();
    for (const Key modifier : {shift, alt}) {
        window.press(modifier);
        paste();
        window.release(modifier);
    }
    window.type(v);
    EXPECT_THAT(arrivedOf(c), ElementsAre(v, v, v, c));
    EXPECT_EQ(asked, 0);
}

TEST_F(EventTapTest, CountsAPressByTheLayoutThatItIsMadeIn) {
    start();
    ASSERT_EQ(std::system("setxkbmap us,ru,us -variant ,,dvorak"), 0);
    const std::uint8_t latin = 0, cyrillic = 1, dvorak = 2;
    window.lock(0, dvorak);
    awaitTapOf(period);
    EXPECT_THAT(arrivedOf(v), ElementsAre(v));
    for (const std::uint8_t layout : {latin, cyrillic}) {
        window.lock(0, layout);
        EXPECT_THAT(arrivedOf(period), ElementsAre(period));
        EXPECT_THAT(arrivedOf(v), IsEmpty());
    }
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(std::system("setxkbmap us"), 0);
}

TEST_F(EventTapTest, FollowsTheKeyboardMapping) {
    start();
    const auto map = [this](xcb_keysym_t first, xcb_keysym_t second) {
        const xcb_keysym_t symbols[] = {first, second};
        static_assert(v == c + 1);
        xcb_change_keyboard_mapping(window.display(), 2, c, 1, symbols);
        window.sync();
    };
    map(XKB_KEY_v, XKB_KEY_c);
    awaitTapOf(c);
    EXPECT_THAT(arrivedOf(v), ElementsAre(v));
    EXPECT_THAT(arrivedOf(c), IsEmpty());
    map(XKB_KEY_c, XKB_KEY_v);
}

TEST_F(EventTapTest, HoldsNoKeyUpForLongWhenTheCallbackHangs) {
    start();
    std::promise<TappedEvent> seen;
    std::promise<void> end;
    act([&](const TappedEvent& event) {
        seen.set_value(event);
        end.get_future().wait();
    });
    window.press(control);
    for (int i = 0; i < 20; ++i) {
        const auto pressed = ForeignWindow::Clock::now();
        window.type(v);
        EXPECT_EQ(nextKey(patience), v);
        EXPECT_LT(ForeignWindow::Clock::now() - pressed, 160ms + busyMachine);
    }
    window.release(control);
    EXPECT_FALSE(seen.get_future().get().swallow());
    EXPECT_THAT(arrived(), IsEmpty());
    end.set_value();
}

TEST_F(EventTapTest, LeavesTheKeyToOthersWhileItIsOff) {
    start();
    for (int i = 0; i < 2; ++i) {
        tap.enable(false);
        const auto deadline = ForeignWindow::Clock::now() + patience;
        while (!grabsByItself(XCB_MOD_MASK_CONTROL))
            ASSERT_LT(ForeignWindow::Clock::now(), deadline) << "the key is not given up";
        giveUpGrabs();
        EXPECT_THAT(arrivedOf(v), ElementsAre(v));
        tap.enable(true);
        awaitTapOf(v);
        EXPECT_THAT(arrivedOf(v), IsEmpty());
        asked = 0;
    }
}

TEST_F(EventTapTest, IsRefusedWhileAnotherProgramHasTheKey) {
    ASSERT_TRUE(grabsByItself(XCB_MOD_MASK_CONTROL | capsLock));
    EXPECT_FALSE(run());
    EXPECT_EQ(tap.refusal(), TapRefusal::keyTaken);
    EXPECT_TRUE(grabsByItself(XCB_MOD_MASK_CONTROL)) << "not all grabs have been given up";

    giveUpGrabs();
    start();
}

TEST_F(EventTapTest, IsRefusedWithoutAnXServerOfTheSession) {
    ::setenv("WAYLAND_DISPLAY", "wayland-0", 1);
    EXPECT_FALSE(run());
    EXPECT_EQ(tap.refusal(), TapRefusal::waylandSession);
    ::unsetenv("WAYLAND_DISPLAY");
    const std::string display = std::getenv("DISPLAY");
    ::setenv("DISPLAY", ":9999", 1);
    EXPECT_FALSE(run());
    EXPECT_EQ(tap.refusal(), TapRefusal::noDisplay);
    ::setenv("DISPLAY", display.c_str(), 1);
}

TEST_F(EventTapTest, ComesBackWhenItsConnectionIsLost) {
    start();
    // It is the one that was opened last.
    int last = ::dup(0);
    ::close(last);
    while (--last > 0 && ::shutdown(last, SHUT_RDWR) != 0)
        ;
    awaitTapOf(v);
    EXPECT_THAT(arrivedOf(v), IsEmpty());
}

TEST_F(EventTapTest, LetsGoOfEverythingWhenItIsStopped) {
    start();
    std::promise<void> seen, end;
    act([&](const TappedEvent& event) {
        seen.set_value();
        end.get_future().wait();
        swallowed = event.swallow();
    });
    paste();
    seen.get_future().wait();
    tap.stop();
    EXPECT_THAT(arrived(), ElementsAre(v));
    EXPECT_TRUE(grabsByItself(XCB_MOD_MASK_CONTROL));
    end.set_value();
    EXPECT_TRUE(result.get_future().get());
    EXPECT_FALSE(swallowed);
    EXPECT_TRUE(run()) << "it is stopped for good";
}

TEST_F(EventTapTest, LosesNoKeyThatComesWhileItStops) {
    for (int i = 0; i < 50; ++i) {
        X11EventTap stopped;
        std::atomic<bool> works = false;
        std::thread thread(
            [&] { stopped.run(1U << event_types::keyDown, [&](const TappedEvent&) { works = true; }); });
        while (!works)
            arrivedOf(v);
        paste();
        window.sync();
        stopped.stop();
        EXPECT_THAT(arrived(), ElementsAre(v));
        thread.join();
    }
}

TEST_F(EventTapTest, DoesNotKeepAKeyWhenTheCallbackThrows) {
    start();
    act([](const TappedEvent&) { throw std::runtime_error("callback"); });
    EXPECT_THAT(arrivedOf(v), ElementsAre(v));
    EXPECT_THROW(result.get_future().get(), std::runtime_error);
    EXPECT_TRUE(grabsByItself(XCB_MOD_MASK_CONTROL));
}

} // namespace

} // namespace ternvault

#include "intake/PasteHook.h"

#include "intake/PasteBoardFiles.h"
#include "support/FakePlatform.h"

#include <gtest/gtest.h>

namespace ternvault::test {
namespace {

class FakeKeys : public KeyMonitor {
public:
    std::unique_ptr<Handle> addLocalMonitor(Handler handler) override {
        press = std::move(handler);
        return std::make_unique<Handle>();
    }
    Handler press;
};

class FakeNotifications : public NotificationCenter {
public:
    void observe(const QString&, std::function<void()> received) override { post = std::move(received); }
    std::function<void()> post;
};

/// Calls back for what the test presses.
class FakeEventTap : public EventTap {
public:
    void enable(bool) override {}
    bool run(std::uint32_t, const Callback& callback) override {
        event.swallow = [this] {
            ++swallowed;
            return !isLate;
        };
        callback(event);
        return true;
    }
    void stop() override {}

    bool isLate = false;
    TappedEvent event;
    int swallowed = 0;
};

class FakeFinder : public FrontmostApplication, public ScriptHost, public AccessibilityPrompt {
public:
    std::optional<QString> bundleIdentifier() const override { return application; }
    std::optional<QString> run(const QString& source) override {
        scripts.push_back(source);
        return folder;
    }
    void show() override {}

    std::optional<QString> application = u"com.apple.finder"_s;
    std::optional<QString> folder = u"/Volumes/MOSSBOX1/Photos/\n"_s;
    std::vector<QString> scripts;
};

struct CountingTarget final : PasteTarget {
    Task<> pasteFromClipboardInto(std::filesystem::path folder) override {
        ++pastes;
        lastFolder = folder;
        co_return;
    }
    int pastes = 0;
    std::filesystem::path lastFolder;
    LifetimeAnchor<PasteTarget> anchor{this};
};

class PasteHookTest : public testing::Test {
protected:
    PasteHookTest() {
        fake.files.entries["/home/anna/a"] = false;
        tapPasteboard.urls = fake.pasteboard.urls = {QUrl(u"file:///home/anna/a"_s)};
        PasteTapBridge::model = target.anchor.weak();
    }
    ~PasteHookTest() override { PasteTapBridge::model = {}; }
    bool press(std::uint32_t flags, const std::optional<QString>& characters) const {
        return keys.press({flags, characters});
    }
    /// Of the key V with these flags.
    int swallows(std::uint32_t flags, std::uint32_t type = event_types::keyDown,
                 std::uint32_t key = key_codes::v) {
        tap.event = {type, flags, key, {}};
        tap.swallowed = 0;
        hook.installFinderTap();
        fake.time.run();
        return tap.swallowed;
    }
    void appear() {
        hook.installLocalMonitor();
        hook.installRemotePasteTrigger();
    }

    FakePlatform fake;
    CountingTarget target;
    TaskScope tasks{fake.time, [](const std::exception_ptr&) { ADD_FAILURE(); }};
    FakeKeys keys;
    FakeNotifications notifications;
    FakeEventTap tap;
    FakeFinder finder;
    FakePasteboard tapPasteboard;
    PasteHook hook{fake.platform, {keys, notifications, tap, finder, tapPasteboard, finder, finder}, tasks};
};

TEST_F(PasteHookTest, TakesCommandVAndNothingElse) {
    using namespace key_flags;
    appear();
    constexpr std::uint32_t fromTheLeftKey = 0x8;
    EXPECT_TRUE(press(command | fromTheLeftKey, u"V"_s));
    fake.time.run();
    EXPECT_EQ(target.pastes, 1);
    const std::pair<std::uint32_t, std::optional<QString>> others[] = {
        {command, u"c"_s},         {command, std::nullopt},      {0, u"v"_s},
        {command | shift, u"v"_s}, {command | capsLock, u"v"_s}, {command | option, u"v"_s}};
    for (const auto& [flags, characters] : others)
        EXPECT_FALSE(press(flags, characters)) << flags;
    fake.files.entries.erase("/home/anna/a");
    EXPECT_FALSE(press(command, u"v"_s)) << "no file that exists";
    fake.time.run();
    EXPECT_EQ(target.pastes, 1);
}

TEST_F(PasteHookTest, TheTapSwallowsPastesOfFilesOntoTheVolume) {
    using namespace key_flags;
    EXPECT_EQ(swallows(command | capsLock), 1);
    EXPECT_EQ(target.pastes, 1);
    EXPECT_EQ(target.lastFolder, "/Volumes/MOSSBOX1/Photos");
    EXPECT_EQ(std::exchange(finder.scripts, {}).size(), 1U);

    for (const std::uint32_t flags : {0U, shift | command, option | command, control | command, shift})
        EXPECT_EQ(swallows(flags), 0) << flags;
    EXPECT_EQ(swallows(command, event_types::keyDown + 1), 0);
    EXPECT_EQ(swallows(command, event_types::keyDown, key_codes::v + 1), 0);
    tapPasteboard.urls.clear();
    EXPECT_EQ(swallows(command), 0);
    EXPECT_TRUE(finder.scripts.empty()) << "asked only about a paste of files";

    tapPasteboard.urls = fake.pasteboard.urls;
    tap.isLate = true;
    EXPECT_EQ(swallows(command), 1);
    EXPECT_EQ(target.pastes, 1) << "what came too late is not handed over";
}

TEST_F(PasteHookTest, KnowsFoldersOnTheVolume) {
    const auto isOnVolume = [this](const std::optional<QString>& folder) {
        finder.folder = folder;
        return PasteBoardFiles::finderIsOnTernVault(finder, finder, "/Volumes");
    };
    for (const QString& folder : {u"/Volumes/MOSSBOX"_s, u"/Volumes/MOSS BOX 2/a"_s,
                                  u" /Volumes/./MOSSBOX1/ \n"_s, u"/Volumes/x/../MOSSBOX1"_s})
        EXPECT_TRUE(isOnVolume(folder)) << folder.toStdString();
    for (const QString& folder :
         {u"/Volumes/MOSSBOX1/.."_s, u"/Volumes/PHOTOS"_s, u"/home/anna/MOSSBOX1"_s, u" \n"_s})
        EXPECT_FALSE(isOnVolume(folder)) << folder.toStdString();
    EXPECT_FALSE(isOnVolume(std::nullopt));
}

TEST_F(PasteHookTest, DoesNothingOnceTheModelIsGone) {
    appear();
    PasteTapBridge::model = {};
    EXPECT_FALSE(press(key_flags::command, u"v"_s));
    notifications.post();
    EXPECT_EQ(swallows(key_flags::command), 1);
    EXPECT_EQ(fake.activation.count, 0);
}

} // namespace
} // namespace ternvault::test

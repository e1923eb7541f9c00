#include "intake/PasteHook.h"

#include "intake/PasteTapBridge.h"
#include "support/ModelFixture.h"

namespace ternvault::test {
namespace {

using namespace Qt::StringLiterals;

class FakeKeys : public KeyMonitor {
public:
    std::unique_ptr<Handle> addLocalMonitor(Handler handler) override {
        ++asked;
        press = std::move(handler);
        return refuses ? nullptr : std::make_unique<Handle>();
    }
    bool refuses = false;
    int asked = 0;
    Handler press;
};

class FakeNotifications : public NotificationCenter {
public:
    void observe(const QString& name, std::function<void()> received) override {
        observers.emplace(name, received);
    }
    void post(const QString& name) {
        const auto [begin, end] = observers.equal_range(name);
        for (auto observer = begin; observer != end; ++observer)
            observer->second();
    }
    std::multimap<QString, std::function<void()>> observers;
};

class PasteHookTest : public ModelFixture {
protected:
    PasteHookTest() {
        letMountsSucceed();
        fake.files.entries["/home/anna/a"] = false;
        fake.pasteboard.urls = {QUrl(u"file:///home/anna/a"_s)};
        PasteTapBridge::model = model.weak();
    }
    ~PasteHookTest() override { PasteTapBridge::model = {}; }
    bool press(std::uint32_t flags, const std::optional<QString>& characters) const {
        return keys.press({flags, characters});
    }
    void appear() {
        hook.installLocalMonitor();
        hook.installRemotePasteTrigger();
    }

    AppModel& model = startWithAccount();
    TaskScope tasks{fake.time, [](const std::exception_ptr&) { ADD_FAILURE(); }};
    FakeKeys keys;
    FakeNotifications notifications;
    PasteHook hook{fake.platform, keys, notifications, tasks};
};

TEST_F(PasteHookTest, TakesCommandVAndNothingElse) {
    using namespace key_flags;
    appear();
    constexpr std::uint32_t fromTheLeftKey = 0x8;
    EXPECT_TRUE(press(command | fromTheLeftKey, u"V"_s));
    fake.time.run();
    EXPECT_EQ(model.transfers.totalCount, 1);
    const std::pair<std::uint32_t, std::optional<QString>> others[] = {
        {command, u"c"_s},         {command, std::nullopt},      {0, u"v"_s},
        {command | shift, u"v"_s}, {command | capsLock, u"v"_s}, {command | option, u"v"_s}};
    for (const auto& [flags, characters] : others)
        EXPECT_FALSE(press(flags, characters)) << flags;
    fake.files.entries.erase("/home/anna/a");
    EXPECT_FALSE(press(command, u"v"_s)) << "no file that exists";
    fake.time.run();
    EXPECT_EQ(model.transfers.totalCount, 1);
}

TEST_F(PasteHookTest, EachNotificationIsOnePasteHoweverOftenTheWindowAppears) {
    keys.refuses = true;
    appear();
    keys.refuses = false;
    appear();
    appear();
    EXPECT_EQ(keys.asked, 2) << "until the platform gives a monitor";
    for (int times = 0; times < 10; ++times)
        notifications.post(u"space.larkspur.ternvault.pasteFromClipboard"_s);
    fake.time.run();
    EXPECT_EQ(model.transfers.totalCount, 10);

    fake.pasteboard.urls.clear();
    const int activations = fake.activation.count;
    notifications.post(u"space.larkspur.ternvault.pasteFromClipboard"_s);
    fake.time.run();
    EXPECT_EQ(fake.activation.count, activations + 1);
    EXPECT_TRUE(model.status->startsWith(u"Clipboard has no files"_s));
}

TEST_F(PasteHookTest, DoesNothingOnceTheModelIsGone) {
    appear();
    PasteTapBridge::model = {};
    EXPECT_FALSE(press(key_flags::command, u"v"_s));
    notifications.post(u"space.larkspur.ternvault.pasteFromClipboard"_s);
    fake.time.run();
    EXPECT_EQ(fake.activation.count, 0);
}

} // namespace
} // namespace ternvault::test

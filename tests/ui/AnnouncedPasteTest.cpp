#include "app/AnnouncedPaste.h"
#include "app/OpenedFiles.h"
#include "support/ModelFixture.h"
#include "support/PrivateBus.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QTest>
#include <QWidget>

namespace ternvault::test {

namespace {

const auto name = u"org.freedesktop.Notifications"_s;
const auto path = u"/org/freedesktop/Notifications"_s;

/// The desktop's service for notifications, as far as the test looks at it.
class Service final : public BusService {
public:
    Service() : BusService(name, path) {}
    void choose(uint id) {
        for (const auto& [member, text] :
             {std::pair(u"ActivationToken"_s, u"token"_s), {u"ActionInvoked"_s, u"default"_s}})
            bus.send(QDBusMessage::createSignal(path, name, member) << id << text);
    }
    bool handleMessage(const QDBusMessage& call, const QDBusConnection&) override {
        shown.push_back(call.arguments()[3].toString());
        replaced.push_back(call.arguments()[1].toUInt());
        return bus.send(call.createReply(7U));
    }

    QStringList shown;
    std::vector<uint> replaced;
};

} // namespace

class AnnouncedPastes : public ModelFixture {
protected:
    /// As far as a paste goes within the moment that windows have to become active, and beyond.
    void paste() {
        perform(pastes.pasteFromClipboard());
        fake.time.advance(std::chrono::seconds(1));
    }

    PrivateBus bus;
    AppModel& model = startWithAccount();
    QString token;
    DesktopNotification notification{[this](const QString& given) { token = given; }};
    AnnouncedPaste pastes{model, fake.time, notification};
};

TEST_F(AnnouncedPastes, AreToldOnTheDesktopWhereNoWindowOfOursIsActive) {
    paste();
    EXPECT_FALSE(QDBusConnection::sessionBus().interface()->isServiceRegistered(name));
    QCoreApplication::processEvents(); // the answer that nobody is there came first
    fake.files.entries = {{"/a", false}, {"/b", false}, {"/Volumes", true}, {"/Volumes/MOSSBOX1", true}};
    fake.pasteboard.urls = {QUrl(u"file:///a"_s), QUrl(u"file:///b"_s)};
    model.refreshMounted();
    Service service;
    QWidget window;
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    paste();
    window.close();
    fake.pasteboard.urls.pop_back();
    for (int i = 0; i < 3; ++i)
        paste();
    ASSERT_TRUE(QTest::qWaitFor([&service] { return service.shown.size() == 2; }));
    EXPECT_EQ(service.shown[0], u"Queued 1 item(s) → /Volumes/MOSSBOX1"_s);
    EXPECT_EQ(service.replaced, (std::vector<uint>{0, 7}));
    service.choose(8);
    service.choose(7);
    EXPECT_TRUE(QTest::qWaitFor([this] { return !token.isEmpty(); }));
}

TEST_F(AnnouncedPastes, FilesThatAreOpenedAreToldOnceHoweverManyTheyAre) {
    Service service;
    OpenedFiles opened(model, fake.time, notification);
    TaskScope tasks(fake.time, [](const std::exception_ptr&) { ADD_FAILURE() << "an exception escaped"; });
    fake.files.entries = {{"/a", false}, {"/b", false}};
    for (const auto& [outcome, queued] : {std::pair(u"Mount failed — cannot transfer"_s, 0),
                                          {u"Queued 2 item(s) → /Volumes/MOSSBOX1"_s, 2}}) {
        letProgramsFail("refused");
        if (queued > 0)
            letMountsSucceed();
        opened.open({QUrl(u"file:///a"_s), QUrl(u"file:///b"_s)}, tasks);
        fake.time.advance(std::chrono::seconds(2));
        EXPECT_TRUE(tasks.isEmpty());
        EXPECT_EQ(model.transfers.totalCount, queued) << "each is handed over";
        ASSERT_TRUE(QTest::qWaitFor([&service] { return !service.shown.isEmpty(); }));
        EXPECT_EQ(std::exchange(service.shown, {}), QStringList{outcome});
    }
}

} // namespace ternvault::test

#include "app/ApplicationService.h"
#include "platform/linux/PortalAppearance.h"
#include "support/PrivateBus.h"

#include <QDBusMessage>
#include <QProcess>
#include <QTest>

#include <gtest/gtest.h>

namespace ternvault::test {

namespace {

/// The desktop's portal, as far as it tells the colour scheme.
class Portal final : public BusService {
public:
    Portal() : BusService(u"org.freedesktop.portal.Desktop"_s, u"/org/freedesktop/portal/desktop"_s) {}
    void change(const QString& space, uint scheme) {
        QDBusMessage signal = QDBusMessage::createSignal(
            u"/org/freedesktop/portal/desktop"_s, u"org.freedesktop.portal.Settings"_s, u"SettingChanged"_s);
        bus.send(signal << space << u"color-scheme"_s << QVariant::fromValue(QDBusVariant(scheme)));
    }
    bool handleMessage(const QDBusMessage& question, const QDBusConnection&) override {
        const QVariant inner = QVariant::fromValue(QDBusVariant(1U));
        return bus.send(question.createReply(QVariant::fromValue(QDBusVariant(inner))));
    }
};

} // namespace

TEST(ApplicationService, TakesOverWhatASecondStartIsFor) {
    const TemporaryFolder folder;
    const PrivateBus bus;
    ApplicationService service;
    ASSERT_EQ(service.claim({}, {}), ApplicationService::Start::first);
    int activations = 0;
    std::vector<std::string> urls;
    QString action;
    service.setHandlers({[&] { ++activations; },
                         [&](const std::vector<QUrl>& asked) {
                             for (const QUrl& url : asked)
                                 urls.push_back(url.toEncoded().toStdString());
                         },
                         [&](const QString& asked) { action = asked; }});
    const auto startAgain = [&folder](const QStringList& arguments) {
        QProcess program;
        program.setWorkingDirectory(QString::fromStdString(folder.path()));
        program.start(QStringLiteral(TERNVAULT), arguments);
        return QTest::qWaitFor([&program] { return program.state() == QProcess::NotRunning; }, 30'000) &&
               program.exitStatus() == QProcess::NormalExit && program.exitCode() == 0;
    };
    EXPECT_TRUE(startAgain({u"--auto-mount"_s}));
    EXPECT_EQ(activations, 1);
    EXPECT_TRUE(startAgain({u"--add-files"_s, u"file:///e"_s}));
    EXPECT_EQ(action, u"add-files"_s);
    EXPECT_EQ(urls, std::vector<std::string>{"file:///e"});
    urls.clear();
    EXPECT_TRUE(startAgain({u"a b#.txt"_s, u"--"_s, u"-x"_s, u"file:///c%20d"_s}));
    const std::string here = "file://" + folder.path().native();
    EXPECT_EQ(urls, (std::vector<std::string>{here + "/a%20b%23.txt", here + "/-x", "file:///c%20d"}));
    EXPECT_EQ(activations, 1);
}

TEST(PortalAppearance, FollowsTheDesktopsChoice) {
    const PrivateBus bus;
    Portal portal;
    PortalAppearance appearance(false);
    EXPECT_FALSE(appearance.isDark()) << "it waits for nothing";
    const auto becomes = [&appearance](bool dark) {
        return QTest::qWaitFor([&] { return appearance.isDark() == dark; });
    };
    int changes = 0;
    const Subscription subscription = appearance.changed.subscribe([&changes] { ++changes; });
    EXPECT_TRUE(becomes(true));
    portal.change(u"org.example.other"_s, 2);
    portal.change(u"org.freedesktop.appearance"_s, 1);
    portal.change(u"org.freedesktop.appearance"_s, 0);
    EXPECT_TRUE(becomes(false)) << "no preference: as the platform's palette is";
    EXPECT_EQ(changes, 2);
}

} // namespace ternvault::test

#include "model/AppModel.h"
#include "platform/linux/NoUserInterface.h"
#include "support/ModelFixture.h"
#include "support/RealPC.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

namespace ternvault::test {
namespace {

using namespace std::chrono_literals;

/// The real model in this process, on the real main loop.
class Monitor : public RealPC {
protected:
    template <typename Condition>
    static bool turnUntil(Condition condition, std::chrono::seconds limit) {
        QDeadlineTimer deadline(limit);
        while (!condition() && !deadline.hasExpired())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 50);
        return condition();
    }
};

TEST_F(Monitor, MountsAgainWhatWentAwayAndNeverBlocksTheMainLoop) {
    takeEnvironment();
    LinuxServices services([](const QString& message) { ADD_FAILURE() << message.toStdString(); });
    NoUserInterface noUserInterface(services.mainLoop());
    AppModel model(services.platform(noUserInterface.services()));
    model.serverIP = QString::fromStdString(read("address"));
    model.smbUser = QString::fromStdString(read("user"));
    model.smbPassword = QString::fromStdString(read("password"));
    model.setupComplete = true;
    model.autoConnect = true;

    QElapsedTimer sinceTurn;
    qint64 longestGap = 0;
    QTimer heartbeat;
    QObject::connect(&heartbeat, &QTimer::timeout,
                     [&] { longestGap = std::max(longestGap, sinceTurn.restart()); });
    sinceTurn.start();
    heartbeat.start(5ms);

    const auto isMounted = [&] { return model.mountedVolumeName->has_value() && !model.isBusy; };
    ASSERT_TRUE(turnUntil(isMounted, 20s));
    for (const int signal : {SIGKILL, SIGSTOP}) {
        signalDaemons(signal);
        ASSERT_TRUE(turnUntil([&] { return isVolumesRootEmpty(); }, 15s)) << "no dead mount stays";
        ASSERT_TRUE(turnUntil([&] { return !isMounted(); }, 15s));
        ASSERT_TRUE(turnUntil(isMounted, 45s));
    }
    EXPECT_LT(longestGap, 200);
    EXPECT_EQ(cli({QStringLiteral("eject")}).status, 0);
}

} // namespace
} // namespace ternvault::test

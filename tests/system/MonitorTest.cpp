#include "model/AppModel.h"
#include "platform/linux/NoUserInterface.h"
#include "support/RealPC.h"

#include <QTimer>

namespace ternvault::test {

/// The real model in this process, on the real main loop.
class Monitor : public RealPC {};

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
    ASSERT_TRUE(eventually(isMounted, 20s));
    for (const int signal : {SIGKILL, SIGSTOP}) {
        signalDaemons(signal);
        ASSERT_TRUE(eventually([&] { return isVolumesRootEmpty(); }, 15s)) << "no dead mount stays";
        ASSERT_TRUE(eventually([&] { return !isMounted(); }, 15s));
        ASSERT_TRUE(eventually(isMounted, 45s));
    }
    EXPECT_LT(longestGap, 200);
    EXPECT_EQ(cli({QStringLiteral("eject")}).status, 0);
}

} // namespace ternvault::test

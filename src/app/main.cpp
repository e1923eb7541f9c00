#include "app/ApplicationService.h"
#include "app/CommandLine.h"
#include "app/Notices.h"
#include "app/StartupToken.h"
#include "app/TernVaultApp.h"
#include "model/SettingsKeys.h"
#include "platform/linux/Interrupts.h"
#include "platform/linux/LinuxServices.h"

#include <QApplication>
#include <QMessageBox>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include <fontconfig/fontconfig.h>

namespace ternvault {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

constexpr int failure = 1;
constexpr int usageError = 2;

constexpr auto help = R"(Usage: ternvault [--paste | --add-files] [FILE...]

Opens Tern Vault, or brings the window of the running one back, and copies the files onto the volume.

  --paste      copy the files on the clipboard, too
  --add-files  ask which files to copy
  --help       print this
  --version    print the version

The other program, ternvault-cli, does the same work in terminals and scripts.
)";

/// Stopped from a terminal, it would leave the next Ctrl+V of the session held back, and every key behind it.
/// The programs that it starts do not inherit a handler as they would that it is ignored.
void goOnWhenTerminalStops() {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGTSTP, &action, nullptr);
}

int refuse(const QString& problem, int status) {
    std::fputs(("ternvault: " + problem.toUtf8() + '\n').constData(), stderr);
    QMessageBox::critical(nullptr, u"Tern Vault"_s, problem);
    return status;
}

int run(QApplication& application, ApplicationService& service, const CommandLine& commandLine,
        const QVariantMap& startupTokens, const SecretServiceStore& secretService) {
    Notices notices;
    LinuxServices services([&notices](const QString& problem) { notices.show(problem); }, secretService);
    int status = 0;
    {
        goOnWhenTerminalStops();
        const Interrupts interrupts([] { QApplication::quit(); });
        TernVaultApp app(application, services, notices);
        service.setHandlers(app.requests());
        if (!commandLine.isBusStart)
            app.showMainWindow();
        useStartupTokens(startupTokens);
        app.open(commandLine.urls);
        app.performAction(commandLine.action);
        status = QApplication::exec();
        service.release();
        if (!app.finish(1s))
            std::_Exit(status);
    }
    if (!services.finishBackgroundWork(1s))
        std::_Exit(status);
    return status;
}

int start(QApplication& application, const CommandLine& commandLine, const QVariantMap& startupTokens,
          const SecretServiceStore& secretService) {
    if (const std::optional<QString> problem = LinuxServices::environmentProblem())
        return refuse(*problem, usageError);
    ApplicationService service;
    switch (service.claim(commandLine, startupTokens)) {
    case ApplicationService::Start::handedOver:
        return 0;
    case ApplicationService::Start::unanswered:
        return refuse(
            u"Tern Vault is running already, but does not answer. It does what you asked for as soon as it does."_s,
            failure);
    case ApplicationService::Start::first:
        break;
    }
    return run(application, service, commandLine, startupTokens, secretService);
}

} // namespace
} // namespace ternvault

int main(int argc, char* argv[]) {
    using namespace ternvault;
    // Before there are threads: one that reads the environment while something is taken out may miss another.
    const QVariantMap startupTokens = takeStartupTokens();
    const CommandLine early = parseCommandLine({argv + 1, argv + argc});
    if (early.wantsHelp || early.wantsVersion) {
        std::fputs(early.wantsHelp ? help : "ternvault " TERNVAULT_VERSION "\n", stdout);
        return 0;
    }
    // While the toolkit starts; neither waits for the other. In vain where the application runs already.
    const SecretServiceStore secretService =
        LinuxServices::secretServicePreparedToFind({keychainService, keys::smbPassword});
    // Reading the configuration of the fonts takes a third as long as reaching the display.
    std::thread fonts([] { FcInit(); });
    QApplication application(argc, argv);
    fonts.join();
    QApplication::setApplicationName(u"ternvault"_s);
    QApplication::setApplicationDisplayName(u"Tern Vault"_s);
    QApplication::setApplicationVersion(QStringLiteral(TERNVAULT_VERSION));
    QApplication::setDesktopFileName(u"space.larkspur.ternvault"_s);
    QApplication::setQuitOnLastWindowClosed(false);
    // Without Qt's own options.
    return start(application, parseCommandLine({argv + 1, argv + argc}), startupTokens, secretService);
}

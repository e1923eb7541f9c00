#include "async/EscapeReport.h"
#include "cli/AgentCommands.h"
#include "cli/CommandLine.h"
#include "cli/CopyCommand.h"
#include "cli/ExitStatus.h"
#include "cli/MountCommands.h"
#include "cli/SettingsCommands.h"
#include "cli/SetupCommands.h"
#include "cli/Terminal.h"
#include "model/AppModel.h"
#include "platform/linux/LinuxServices.h"
#include "platform/linux/NoUserInterface.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>
#include <optional>

namespace ternvault::cli {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

QStringList texts(const std::vector<std::string>& arguments) {
    QStringList result;
    for (const std::string& argument : arguments)
        result << QString::fromStdString(argument);
    return result;
}

Task<int> copyItems(AppModel& model, MainLoop& mainLoop, std::vector<std::string> arguments) {
    CopyCommand copy(model, mainLoop);
    std::vector<std::filesystem::path> items(arguments.begin(), arguments.end());
    co_return co_await copy.run(std::move(items));
}

Task<int> perform(Command command, AppModel& model, Platform platform) {
    switch (command.verb) {
    case Verb::acceptLegal:
        co_return acceptLegal(model);
    case Verb::disks:
        co_return co_await listDisks(model, !command.arguments.empty());
    case Verb::setup:
        co_return co_await setUp(model, platform.secrets,
                                 command.arguments.front() == "--create" ? AuthMode::create
                                                                         : AuthMode::login);
    case Verb::reset:
        co_return resetSetup(model);
    case Verb::status:
        co_return printStatus(model);
    case Verb::mount:
        co_return co_await mountVolume(model);
    case Verb::eject:
        co_return co_await ejectVolume(model);
    case Verb::copy:
        co_return co_await copyItems(model, platform.mainLoop, command.arguments);
    case Verb::log:
        co_return printTransferLog(model);
    case Verb::autoconnect:
        co_return setSetting(model, platform.secrets,
                             QStringList(u"autoConnect"_s) + texts(command.arguments));
    case Verb::desktopIcon:
        co_return setSetting(model, platform.secrets,
                             QStringList(u"showDesktopIcon"_s) + texts(command.arguments));
    case Verb::set:
        co_return setSetting(model, platform.secrets, texts(command.arguments));
    case Verb::get:
        co_return getSetting(model, texts(command.arguments));
    }
    co_return usageError;
}

Task<> performThenQuit(Command command, AppModel& model, Platform platform, int& status) {
    status = co_await perform(std::move(command), model, platform);
    QCoreApplication::quit();
}

int run(const Command& command) {
    if (const std::optional<QString> problem = LinuxServices::environmentProblem()) {
        printError(u"ternvault-cli: "_s + *problem);
        return usageError;
    }
    bool trouble = false;
    LinuxServices services([&trouble](const QString& message) {
        trouble = true;
        printError(u"ternvault-cli: "_s + message);
    });
    NoUserInterface noUserInterface(services.mainLoop());
    const Platform platform = services.platform(noUserInterface.services());
    int status = failure;
    {
        AppModel model(platform);
        TaskScope tasks(platform.mainLoop,
                        [report = reportEscapes(platform.log)](const std::exception_ptr& escaped) {
                            report(escaped);
                            printError(u"ternvault-cli: an internal error; the system's log tells more"_s);
                            QCoreApplication::quit();
                        });
        tasks.spawn(performThenQuit(command, model, platform, status));
        QCoreApplication::exec();
    }
    std::fflush(stdout);
    if (status == success && (trouble || std::ferror(stdout) != 0))
        status = failure;
    if (!services.finishBackgroundWork(1s))
        std::_Exit(status);
    return status;
}

} // namespace
} // namespace ternvault::cli

int main(int argc, char* argv[]) {
    using namespace ternvault::cli;
    QCoreApplication application(argc, argv);
    const auto parsed = parseCommandLine({argv + 1, argv + argc});
    if (const auto* const notice = std::get_if<Notice>(&parsed)) {
        std::fputs(notice->text.toUtf8().constData(), notice->isError ? stderr : stdout);
        return notice->isError ? usageError : success;
    }
    return run(std::get<Command>(parsed));
}

#include "server/SetupCommand.h"

#include "server/Configuration.h"
#include "server/Programs.h"
#include "server/SambaShares.h"
#include "server/SetupChecks.h"
#include "server/SetupError.h"
#include "server/SetupPlan.h"

#include <filesystem>
#include <iostream>
#include <optional>
#include <string>

#include <getopt.h>
#include <unistd.h>

namespace ternvault::server {

namespace {

constexpr int done = 0;
constexpr int notDone = 2;

constexpr auto help = R"(Usage: mossbox-agent setup [--share NAME] [--system-disk] [--yes] FOLDER

Prepares this PC, as root, so that Tern Vault can use FOLDER, a mounted disk or
a folder on one. Shows first what it will change, and asks. Changes nothing that
is as it should be already. Ends with status 0 when the PC is set up, with 1 and
the reason on standard error when that failed, with 2 when nobody said yes.

  --share NAME   the name of the share, MOSSBOX1 when nothing is said
  --system-disk  FOLDER may lie on a disk that carries the system
  --yes          do not ask
)";

struct Options {
    SetupWish wish{{}, "MOSSBOX1"};
    bool systemDisk = false;
    bool yes = false;
    bool help = false;
};

Configuration currentConfiguration() {
    return std::filesystem::exists(defaultConfigurationFile) ? readConfiguration(defaultConfigurationFile)
                                                             : Configuration{};
}

/// Nothing when the command line is wrong; then it has been said why.
std::optional<Options> readOptions(int argc, char** argv) {
    static const option known[] = {{"share", required_argument, nullptr, 's'},
                                   {"system-disk", no_argument, nullptr, 'd'},
                                   {"yes", no_argument, nullptr, 'y'},
                                   {"help", no_argument, nullptr, 'h'},
                                   {}};
    Options options;
    for (int c = 0; (c = ::getopt_long(argc, argv, "", known, nullptr)) != -1;) {
        if (c == 's')
            options.wish.share = optarg;
        else if (c == 'd')
            options.systemDisk = true;
        else if (c == 'y')
            options.yes = true;
        else if (c == 'h')
            options.help = true;
        else
            return std::nullopt;
    }
    if (options.help)
        return options;
    if (optind + 1 != argc) {
        std::cerr << "setup: name one folder, see mossbox-agent setup --help\n";
        return std::nullopt;
    }
    options.wish.folder = argv[optind];
    if (!isShareName(options.wish.share)) {
        std::cerr
            << "setup: a share's name has letters, digits, '.', '_', '-' and blanks within, 80 at most\n";
        return std::nullopt;
    }
    return options;
}

void show(const SetupPlan& plan) {
    for (std::size_t i = 0; i < plan.steps.size(); ++i)
        std::cout << "  " << i + 1 << ". " << plan.steps[i].change << '\n';
    if (plan.openShares.empty())
        return;
    std::cout << "Accounts can also reach shares that are there and name no \"valid users\":";
    for (const std::string& name : plan.openShares)
        std::cout << " [" << name << ']';
    std::cout << '\n';
}

bool agrees() {
    if (::isatty(STDIN_FILENO) == 0) {
        std::cout << "Nothing was changed: say --yes to have it done.\n";
        return false;
    }
    std::cout << "Do this? Type \"yes\": " << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    if (answer == "yes")
        return true;
    std::cout << "Nothing was changed.\n";
    return false;
}

void apply(const std::vector<SetupStep>& steps) {
    for (std::size_t i = 0; i < steps.size(); ++i) {
        try {
            const std::string news = steps[i].apply();
            std::cout << i + 1 << " done" << std::endl;
            if (!news.empty())
                std::cout << '\n' << news << '\n' << std::endl;
        } catch (const std::exception& error) {
            throw SetupError("step " + std::to_string(i + 1) +
                             " failed, those before it are done: " + error.what());
        }
    }
}

void tellWhatIsLeft() {
    if (!servicesAreManaged())
        std::cout
            << "No systemd runs here: start smbd and mossbox-agent yourself, those that run already too.\n";
}

} // namespace

int runSetup(int argc, char** argv) {
    const auto options = readOptions(argc, argv);
    if (!options)
        return notDone;
    if (options->help) {
        std::cout << help;
        return done;
    }
    checkPc();
    const Configuration configuration = currentConfiguration();
    SystemPrograms programs;
    const SetupWish wish{checkedFolder(programs, configuration, options->wish.folder, options->systemDisk),
                         options->wish.share};
    const SetupPlan plan = planSetup(programs, configuration, wish);
    if (plan.changesAnything())
        std::cout << "To be changed on this PC:\n";
    else
        std::cout << "Nothing to change: the share " << wish.share << " serves " << wish.folder.string()
                  << ".\n";
    show(plan);
    if (plan.changesAnything() && !options->yes && !agrees())
        return notDone;
    apply(plan.steps);
    tellWhatIsLeft();
    return done;
}

} // namespace ternvault::server

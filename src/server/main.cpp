#include "server/Agent.h"
#include "server/Configuration.h"
#include "server/HttpServer.h"
#include "server/Log.h"
#include "server/SetupCommand.h"
#include "server/Token.h"

#include <csignal>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include <getopt.h>
#include <malloc.h>
#include <sys/prctl.h>

namespace {

using namespace ternvault::server;

constexpr auto help = R"(Usage: mossbox-agent [--config FILE]
       mossbox-agent --init [--config FILE]
       mossbox-agent setup [--share NAME] FOLDER

Tells Tern Vault on the home network about this PC's disks and shares, and
creates accounts for it. Ends with status 0 when told to (SIGTERM), with 1 and
the reason on standard error when it fails, with 2 when it was called wrongly.

  --init         make the token that clients need and show it, this once; an
                 existing token is never replaced
  --config FILE  settings, /etc/mossbox-agent.json when nothing is said
  setup          prepare this PC, see mossbox-agent setup --help
  --help         show this text
  --version      show the version
)";

class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct Options {
    /// Without a name the default file is meant, which may be missing.
    std::optional<std::string> configuration;
    bool init = false;
    /// What to print instead of doing anything.
    std::optional<std::string> text;
};

Options readOptions(int argc, char** argv) {
    static const option known[] = {{"config", required_argument, nullptr, 'c'},
                                   {"init", no_argument, nullptr, 'i'},
                                   {"help", no_argument, nullptr, 'h'},
                                   {"version", no_argument, nullptr, 'v'},
                                   {}};
    Options options;
    for (int c = 0; (c = ::getopt_long(argc, argv, "", known, nullptr)) != -1;) {
        if (c == 'c')
            options.configuration = optarg;
        else if (c == 'i')
            options.init = true;
        else if (c == 'h')
            options.text = help;
        else if (c == 'v')
            options.text = "mossbox-agent " TERNVAULT_VERSION "\n";
        else
            throw UsageError("see mossbox-agent --help");
    }
    if (optind < argc)
        throw UsageError(std::string("\"") + argv[optind] + "\" is unexpected, see mossbox-agent --help");
    return options;
}

Configuration configure(const Options& options) {
    if (!options.configuration && !std::filesystem::exists(defaultConfigurationFile))
        return {};
    return readConfiguration(options.configuration.value_or(defaultConfigurationFile));
}

void initialise(const Configuration& configuration) {
    try {
        std::cout << createToken(configuration.tokenFile) << std::endl;
        if (!std::cout)
            throw std::runtime_error("the token could not be shown; remove " +
                                     configuration.tokenFile.string() + " and try again");
    } catch (const std::system_error& error) {
        const std::string file = configuration.tokenFile.string();
        if (error.code() == std::errc::file_exists)
            throw std::runtime_error(file +
                                     " exists already; remove it first if clients shall need another token");
        throw std::runtime_error(file + ": " + error.code().message());
    }
}

std::string token(const Configuration& configuration) {
    try {
        return readToken(configuration.tokenFile);
    } catch (const std::system_error& error) {
        const std::string file = "the token file " + configuration.tokenFile.string();
        if (error.code() == std::errc::no_such_file_or_directory)
            throw std::runtime_error(file + " is missing; mossbox-agent --init makes it");
        if (error.code() == std::errc::operation_not_permitted)
            throw std::runtime_error(file + " can be read by others than its owner");
        if (error.code() == std::errc::invalid_argument)
            throw std::runtime_error(file + " holds no token");
        throw std::runtime_error(file + ": " + error.code().message());
    }
}

void serve(const Configuration& configuration) {
    // Threads inherit the mask; programs that the agent runs do not.
    sigset_t ending;
    ::sigemptyset(&ending);
    ::sigaddset(&ending, SIGTERM);
    ::sigaddset(&ending, SIGINT);
    ::pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    ::signal(SIGPIPE, SIG_IGN);
    // Whatever handles crashes gets no memory with passwords in it.
    ::prctl(PR_SET_DUMPABLE, 0);
    // Hundreds of threads that come and go shall not each leave memory behind.
    ::mallopt(M_ARENA_MAX, 2);
    Agent agent(configuration, token(configuration), std::make_shared<SystemPrograms>());
    const HttpServer server(agent, configuration.listen, configuration.port);
    logLine("ready on port " + std::to_string(configuration.port));
    int received = 0;
    ::sigwait(&ending, &received);
    logLine("ending");
}

int run(int argc, char** argv) {
    if (argc > 1 && argv[1] == std::string_view("setup"))
        return runSetup(argc - 1, argv + 1);
    const Options options = readOptions(argc, argv);
    if (options.text) {
        std::cout << *options.text;
        return 0;
    }
    const Configuration configuration = configure(options);
    if (options.init)
        initialise(configuration);
    else
        serve(configuration);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const UsageError& error) {
        std::cerr << "mossbox-agent: " << error.what() << '\n';
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "mossbox-agent: " << error.what() << '\n';
        return 1;
    }
}

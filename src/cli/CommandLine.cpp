#include "cli/CommandLine.h"

#include "cli/SettingsCommands.h"

#include <algorithm>
#include <iterator>

namespace ternvault::cli {

using namespace Qt::StringLiterals;

namespace {

struct VerbRule {
    std::string name;
    Verb verb;
    std::size_t fewest;
    std::size_t most;
    /// What the arguments are taken from, where they are options.
    std::vector<std::string> options = {};
};

constexpr std::size_t any = static_cast<std::size_t>(-1);

const std::vector<VerbRule>& verbRules() {
    static const std::vector<VerbRule> rules{
        {"accept-legal", Verb::acceptLegal, 0, 0},
        {"disks", Verb::disks, 0, 1, {"--json"}},
        {"setup", Verb::setup, 1, 1, {"--create", "--login"}},
        {"reset", Verb::reset, 0, 0},
        {"status", Verb::status, 0, 0},
        {"mount", Verb::mount, 0, 0},
        {"eject", Verb::eject, 0, 0},
        {"copy", Verb::copy, 1, any},
        {"log", Verb::log, 0, 0},
        {"autoconnect", Verb::autoconnect, 1, 1},
        {"desktop-icon", Verb::desktopIcon, 1, 1},
        {"set", Verb::set, 1, 2},
        {"get", Verb::get, 1, 1},
    };
    return rules;
}

QString helpText() {
    return uR"(Usage: ternvault-cli COMMAND [ARGUMENT...]

  accept-legal    accept the Privacy Policy and the Terms & Conditions
  disks [--json]  list the disks and shares of the PC
  setup --create  create an account on the PC and mount the selected share with it
  setup --login   the same with an account that exists
  reset           forget the password and go back to before the setup
  status          what is mounted; exit status 3 when nothing is
  mount           mount the selected share with the saved account
  eject           take the volume away again
  copy PATH...    copy files and folders onto the volume, mounting it if needed
  log             print the transfer log
  autoconnect on|off
                  keep the volume mounted, and open Tern Vault at login
  desktop-icon on|off
                  show the volume on the desktop
  set KEY VALUE   change a setting; a secret is read from a prompt or from standard input
  get KEY         print a setting; of a secret only whether it is set
  --help          print this text
  --version       print the version

Settings:
)"_s + describeSettings() +
           uR"(
Exit status: 0 done, 1 not or not wholly done, 2 wrong command line.
)"_s;
}

Notice complain(const QString& what) {
    return {u"ternvault-cli: "_s + what + u"\nTry 'ternvault-cli --help'.\n"_s, true};
}

QString inQuotes(const std::string& text) {
    return u'\'' + QString::fromStdString(text) + u'\'';
}

/// "--" ends the options, so that a name may begin with a dash. `set` takes any VALUE as it stands.
std::variant<Command, Notice> parseArguments(const VerbRule& rule, std::vector<std::string> arguments) {
    const bool takesAnyValue = rule.verb == Verb::set && !arguments.empty();
    const auto options = takesAnyValue ? std::next(arguments.begin()) : arguments.end();
    const auto end = std::find(arguments.begin(), options, "--");
    const auto isKnown = [&rule](const std::string& option) {
        return std::find(rule.options.begin(), rule.options.end(), option) != rule.options.end();
    };
    for (auto argument = arguments.begin(); argument < end; ++argument) {
        if (*argument == "--help" || *argument == "-h")
            return Notice{helpText(), false};
        if (argument->starts_with('-') && !isKnown(*argument))
            return complain(
                u"unknown option "_s + inQuotes(*argument) +
                (rule.verb == Verb::copy ? u"; a file of that name goes behind '--'"_s : QString()));
    }
    if (end != options)
        arguments.erase(end);
    if (arguments.size() < rule.fewest)
        return complain(inQuotes(rule.name) + u" needs an argument"_s);
    if (!rule.options.empty() && !std::all_of(arguments.begin(), arguments.end(), isKnown))
        return complain(inQuotes(rule.name) + u" takes options only"_s);
    if (arguments.size() > rule.most)
        return complain(u"too many arguments for "_s + inQuotes(rule.name)); // one may be a secret
    return Command{rule.verb, std::move(arguments)};
}

} // namespace

std::variant<Command, Notice> parseCommandLine(const std::vector<std::string>& arguments) {
    if (arguments.empty())
        return complain(u"no command"_s);
    const std::string& first = arguments.front();
    if (first == "--help" || first == "-h" || first == "help")
        return Notice{helpText(), false};
    if (first == "--version")
        return Notice{u"ternvault-cli " TERNVAULT_VERSION "\n"_s, false};
    const auto rule = std::find_if(verbRules().begin(), verbRules().end(),
                                   [&](const VerbRule& candidate) { return candidate.name == first; });
    if (rule == verbRules().end())
        return complain(u"unknown command "_s + inQuotes(first));
    return parseArguments(*rule, {std::next(arguments.begin()), arguments.end()});
}

} // namespace ternvault::cli

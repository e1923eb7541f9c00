#include "server/SambaShares.h"

#include "server/Configuration.h"
#include "server/Draft.h"
#include "server/SetupError.h"
#include "server/SetupPrograms.h"
#include "server/Shares.h"
#include "server/TextFile.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <sstream>

namespace ternvault::server {

namespace {

constexpr std::size_t longestName = 80;

constexpr auto header =
    "# Shares that \"mossbox-agent setup\" added. Change them as you like: it adds shares, and never\n"
    "# changes one that is there.\n";

std::string lowerCase(std::string_view text) {
    std::string result(text);
    std::ranges::transform(result, result.begin(), [](unsigned char c) { return std::tolower(c); });
    return result;
}

std::string trimmed(std::string_view text) {
    constexpr auto blanks = " \t\r";
    const auto first = text.find_first_not_of(blanks);
    return first == text.npos ? ""
                              : std::string(text.substr(first, text.find_last_not_of(blanks) - first + 1));
}

std::string includeOf(const std::filesystem::path& file) {
    return "include = " + file.string() + '\n';
}

bool includes(const std::string& configuration, const std::filesystem::path& file) {
    std::istringstream lines(configuration);
    for (std::string line; std::getline(lines, line);)
        if (const auto equals = line.find('='); equals != line.npos)
            if (lowerCase(trimmed(line.substr(0, equals))) == "include" &&
                trimmed(line.substr(equals + 1)) == file)
                return true;
    return false;
}

/// The empty line ends a last line that lacks its end or is marked as going on.
std::string withInclude(const std::string& configuration, const std::filesystem::path& file) {
    return configuration + "\n\n# Shares of mossbox-agent\n" + includeOf(file);
}

/// What an account makes belongs to all accounts, and to no other user of the PC.
std::string section(const std::string& name, const std::filesystem::path& folder) {
    const std::string group = accountGroup;
    return "\n[" + name + "]\n    path = " + folder.string() +
           "\n    read only = no"
           "\n    valid users = @" +
           group + "\n    force group = " + group +
           "\n    create mask = 0660"
           "\n    directory mask = 2770\n";
}

/// Without the checks of the running system's directories, which say nothing about the file.
Command testparm(const std::filesystem::path& configuration) {
    return {testparmProgram, "--suppress-prompt", "--skip-logic-checks", configuration};
}

/// As it is in effect, a default too; nothing when there is no such share.
std::optional<std::string> parameterOf(Programs& programs, const std::filesystem::path& configuration,
                                       const std::string& share, const std::string& parameter) {
    Command command = testparm(configuration);
    command.insert(command.end() - 1, {"--section-name=" + share, "--parameter-name=" + parameter});
    const ProgramResult result = programs.run(command, "", programPatience);
    if (!result.succeeded())
        return std::nullopt;
    return result.output.substr(0, result.output.find_last_not_of('\n') + 1);
}

} // namespace

bool isShareName(std::string_view name) {
    constexpr std::array reserved{"global", "homes", "printers"};
    constexpr auto characters = "abcdefghijklmnopqrstuvwxyz0123456789 ._-";
    const std::string lower = lowerCase(name);
    return !name.empty() && name.size() <= longestName && lower.find_first_not_of(characters) == lower.npos &&
           trimmed(name) == name && std::ranges::find(reserved, lower) == reserved.end();
}

SambaShares::SambaShares(Programs& programs, std::filesystem::path configuration)
    : programs_(programs), configuration_(std::move(configuration)),
      file_(configuration_.parent_path() / "mossbox.conf"),
      backup_(configuration_.string() + ".before-mossbox") {}

void SambaShares::check() const {
    if (!programs_.run(testparm(configuration_), "", programPatience).succeeded())
        throw SetupError("Samba does not understand its configuration " + configuration_.string() +
                         " as it stands: mend it first, testparm tells where");
}

std::optional<std::filesystem::path> SambaShares::folderOf(const std::string& name) const {
    return parameterOf(programs_, configuration_, name, "path");
}

std::string SambaShares::obstacleOf(const std::string& name) const {
    const auto parameter = [&](const char* which) {
        return parameterOf(programs_, configuration_, name, which).value_or("");
    };
    if (lowerCase(parameter("available")) != "yes")
        return "is not available";
    if (lowerCase(parameter("read only")) != "no" && parameter("write list").empty())
        return "is read only";
    return "";
}

std::vector<std::string> SambaShares::openShares() const {
    std::vector<std::string> names;
    for (const Share& share :
         parseShares(programs_.run(testparm(configuration_), "", programPatience).output))
        if (parameterOf(programs_, configuration_, share.name, "valid users").value_or("").empty())
            names.push_back(share.name);
    return names;
}

bool SambaShares::lacksLine() const {
    return !includes(readTextFile(configuration_), file_);
}

void SambaShares::add(const std::string& name, const std::filesystem::path& folder) const {
    const std::string before = readTextFile(configuration_);
    const std::string shares = std::filesystem::exists(file_) ? readTextFile(file_) : header;
    Draft newShares(file_, shares + section(name, folder));
    {
        const Draft trial(configuration_, withInclude(before, newShares.path()));
        if (parameterOf(programs_, trial.path(), name, "path") != folder.string())
            throw SetupError("Samba does not take the share " + name + " of " + folder.string() +
                             "; its configuration is as it was");
    }
    // The line first: Samba ignores one that leads to no file, so that the shares' file decides.
    if (!includes(before, file_)) {
        Draft(backup_, before, configuration_).commit();
        Draft(configuration_, withInclude(before, file_)).commit();
    }
    newShares.commit();
}

} // namespace ternvault::server

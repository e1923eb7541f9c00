#include "server/SetupPlan.h"

#include "base/FileDescriptor.h"
#include "server/Draft.h"
#include "server/Mounts.h"
#include "server/SambaShares.h"
#include "server/SetupError.h"
#include "server/SetupPrograms.h"
#include "server/TextFile.h"
#include "server/Token.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <grp.h>
#include <linux/magic.h>
#include <pwd.h>
#include <strings.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace ternvault::server {

namespace {

struct Service {
    const char* name;
    /// How it takes what has changed, started if it does not run.
    const char* verb;
    /// The same, for the user.
    const char* refresh;
};

constexpr Service samba{"smbd.service", "reload-or-restart",
                        "Have smbd.service read its configuration again."};
constexpr Service agent{"mossbox-agent.service", "restart",
                        "Restart mossbox-agent.service, so that it reads its settings and its token again."};

constexpr auto initialConfiguration =
    R"(// Settings of mossbox-agent: see mossbox-agent(8). What is not here has its default.
{
    "port": 8743
}
)";

void runOrThrow(Programs& programs, const Command& command) {
    const ProgramResult result = programs.run(command, "", programPatience);
    if (result.succeeded())
        return;
    std::string line;
    for (const std::string& argument : command)
        line += (line.empty() ? "" : " ") + argument;
    throw SetupError('"' + line + "\" " +
                     (result.exitStatus ? "failed with exit status " + std::to_string(*result.exitStatus)
                                        : "did not run to its end"));
}

std::optional<gid_t> groupId() {
    const group* entry = ::getgrnam(accountGroup);
    return entry ? std::optional(entry->gr_gid) : std::nullopt;
}

bool isLogInShell(std::string_view shell) {
    return !shell.ends_with("/nologin") && !shell.ends_with("/false");
}

/// Debian gives numbers from 1000 on to people.
bool isOfPeople(gid_t id) {
    constexpr gid_t firstOfPeople = 1000;
    bool found = id >= firstOfPeople;
    ::setpwent();
    while (const passwd* user = found ? nullptr : ::getpwent())
        found = user->pw_gid == id && isLogInShell(user->pw_shell);
    ::endpwent();
    return found;
}

std::optional<SetupStep> groupStep(Programs& programs) {
    if (const auto id = groupId()) {
        if (isOfPeople(*id))
            throw SetupError(std::string("the group ") + accountGroup +
                             " belongs to people who use this PC, and accounts would get at their files: "
                             "rename it with groupmod --new-name, setup makes one of its own");
        return std::nullopt;
    }
    return SetupStep{std::string("Create the group ") + accountGroup + ", to which the accounts will belong.",
                     [&programs] {
                         runOrThrow(programs, {groupaddProgram, "--system", accountGroup});
                         return "";
                     }};
}

// --- The folder

/// Group members may do everything, and what they make belongs to the group in turn. A sticky bit would keep
/// one account's entries from the others.
mode_t modeFor(mode_t mode) {
    return ((mode & 07777) | S_ISGID | S_IRWXG) & ~static_cast<mode_t>(S_ISVTX);
}

bool keepsNoOwners(const std::filesystem::path& folder) {
    constexpr std::uint32_t exfat = 0x2011BAB0;
    constexpr std::uint32_t ntfs3 = 0x7366746E;
    struct statfs fileSystem {};
    if (::statfs(folder.c_str(), &fileSystem) != 0)
        throw std::system_error(errno, std::generic_category(), folder.string());
    const auto type = static_cast<std::uint32_t>(fileSystem.f_type);
    // A device behind FUSE is NTFS in most cases; what unites folders there keeps owners and has no device.
    const auto isDevice = [&folder] {
        const auto mounts = parseMounts(readTextFile("/proc/self/mountinfo"));
        const Mount* mount = mountOf(folder.native(), mounts);
        return mount != nullptr && mount->source.starts_with("/dev/");
    };
    return type == MSDOS_SUPER_MAGIC || type == exfat || type == ntfs3 ||
           (type == FUSE_SUPER_MAGIC && isDevice());
}

struct stat attributesOf(const std::filesystem::path& folder) {
    struct stat attributes {};
    if (::stat(folder.c_str(), &attributes) != 0)
        throw std::system_error(errno, std::generic_category(), folder.string());
    return attributes;
}

void openToGroup(const std::filesystem::path& folder) {
    const FileDescriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat attributes {};
    if (!descriptor || ::fstat(descriptor.get(), &attributes) != 0 ||
        ::fchown(descriptor.get(), static_cast<uid_t>(-1), groupId().value()) != 0 ||
        ::fchmod(descriptor.get(), modeFor(attributes.st_mode)) != 0)
        throw std::system_error(errno, std::generic_category(), folder.string());
}

std::optional<SetupStep> folderStep(const std::filesystem::path& folder) {
    const auto attributes = attributesOf(folder);
    const bool ofGroup = groupId() == attributes.st_gid;
    if (keepsNoOwners(folder)) {
        if ((attributes.st_mode & S_IRWXO) == S_IRWXO ||
            (ofGroup && (attributes.st_mode & S_IRWXG) == S_IRWXG))
            return std::nullopt;
        throw SetupError("the file system of " + folder.string() +
                         " keeps no owners: mount it with the options gid=" + accountGroup +
                         ",umask=0007 after groupadd --system " + accountGroup);
    }
    if (ofGroup && (attributes.st_mode & 07777) == modeFor(attributes.st_mode))
        return std::nullopt;
    std::array<char, 8> mode{};
    std::snprintf(mode.data(), mode.size(), "%04o", modeFor(attributes.st_mode));
    return SetupStep{"Give the folder " + folder.string() + " to the group " + accountGroup + " with mode " +
                         mode.data() + "; its owner and what is in it stay as they are.",
                     [folder] {
                         openToGroup(folder);
                         return "";
                     }};
}

// --- Samba

std::optional<SetupStep> shareStep(const SambaShares& shares, const SetupWish& wish) {
    if (const auto folder = shares.folderOf(wish.share)) {
        std::error_code error;
        const std::string fault = std::filesystem::equivalent(*folder, wish.folder, error)
                                      ? shares.obstacleOf(wish.share)
                                      : "is of " + folder->string();
        if (fault.empty())
            return std::nullopt;
        throw SetupError("there is a share " + wish.share + " already, which " + fault +
                         ": choose another name with --share, or change or remove that share in Samba's "
                         "configuration");
    }
    const std::string line = shares.lacksLine()
                                 ? ", which a new line at the end of " + shares.configuration().string() +
                                       " includes (as it was: " + shares.backup().string() + ')'
                                 : "";
    return SetupStep{"Add the share " + wish.share + " of " + wish.folder.string() + " to " +
                         shares.file().string() + line + '.',
                     [shares, wish] {
                         shares.add(wish.share, wish.folder);
                         return "";
                     }};
}

// --- The agent

std::optional<SetupStep> configurationStep() {
    if (std::filesystem::exists(defaultConfigurationFile))
        return std::nullopt;
    return SetupStep{std::string("Write the agent's settings, ") + defaultConfigurationFile + '.', [] {
                         Draft(defaultConfigurationFile, initialConfiguration).commit();
                         return "";
                     }};
}

void checkToken(const std::filesystem::path& file) {
    try {
        readToken(file);
    } catch (const std::system_error& error) {
        if (error.code().value() == EPERM)
            throw SetupError("others than its owner may read the token in " + file.string() +
                             ": remove the file for a new token, or close it with chmod 600");
        if (error.code().value() == EINVAL)
            throw SetupError(file.string() + " holds no token: remove it, and setup makes one");
        throw SetupError(file.string() + ": " + error.what());
    }
}

std::optional<SetupStep> tokenStep(const std::filesystem::path& file) {
    if (std::filesystem::exists(file)) {
        checkToken(file);
        return std::nullopt;
    }
    return SetupStep{
        "Make the token that Tern Vault will need, in " + file.string() + ", and show it once.",
        [file] { return "Agent token for Tern Vault's settings, shown only now: " + createToken(file); }};
}

bool answersYes(Programs& programs, const char* question, const Service& service) {
    return programs.run({systemctlProgram, question, "--quiet", service.name}, "", programPatience)
        .succeeded();
}

SetupStep serviceStep(Programs& programs, const Service& service) {
    const auto refresh = [&programs, service] {
        runOrThrow(programs, {systemctlProgram, service.verb, service.name});
        return "";
    };
    if (answersYes(programs, "is-enabled", service) && answersYes(programs, "is-active", service))
        return {service.refresh, refresh, true};
    return {std::string("Start ") + service.name + ", now and at every start of the PC.",
            [&programs, service, refresh] {
                runOrThrow(programs, {systemctlProgram, "enable", service.name});
                return refresh();
            }};
}

void checkUnit(Programs& programs) {
    if (!programs.run({systemctlProgram, "cat", agent.name}, "", programPatience).succeeded())
        throw SetupError(std::string("systemd does not know ") + agent.name +
                         ": install mossbox-agent first, and run systemctl daemon-reload");
}

std::vector<std::string> openShares(const SambaShares& shares, const SetupWish& wish) {
    std::vector<std::string> names = shares.openShares();
    std::erase_if(names, [&wish](const std::string& name) {
        return ::strcasecmp(name.c_str(), wish.share.c_str()) == 0;
    });
    return names;
}

} // namespace

bool servicesAreManaged() {
    return std::filesystem::is_directory("/run/systemd/system");
}

bool SetupPlan::changesAnything() const {
    return !std::ranges::all_of(steps, &SetupStep::isRefresh);
}

SetupPlan planSetup(Programs& programs, const Configuration& configuration, const SetupWish& wish) {
    std::vector<SetupStep> steps;
    const auto add = [&steps](std::optional<SetupStep> step) {
        if (step)
            steps.push_back(std::move(*step));
    };
    const SambaShares shares(programs, configuration.sambaConfiguration);
    shares.check();
    add(groupStep(programs));
    add(folderStep(wish.folder));
    add(shareStep(shares, wish));
    add(configurationStep());
    add(tokenStep(configuration.tokenFile));
    if (servicesAreManaged()) {
        checkUnit(programs);
        add(serviceStep(programs, samba));
        add(serviceStep(programs, agent));
    }
    return {std::move(steps), openShares(shares, wish)};
}

} // namespace ternvault::server

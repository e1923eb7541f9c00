#pragma once

#include "server/Command.h"

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace ternvault::server {

constexpr auto defaultConfigurationFile = "/etc/mossbox-agent.json";
constexpr auto defaultTokenFile = "/etc/mossbox-agent.token";
constexpr auto defaultSambaConfiguration = "/etc/samba/smb.conf";
constexpr std::uint16_t defaultPort = 8743;

/// Group of the accounts that the agent creates.
constexpr auto accountGroup = "mossbox";

/// Their home folder, which is never made.
constexpr auto accountHome = "/nonexistent";

/// What the agent runs for its answers. Exit status 0 is success.
struct Commands {
    /// Exit status 9 means that the name is taken; it must leave an existing account as it is.
    Command createSystemUser{"/usr/sbin/useradd", "--system",     "--no-create-home",  "--home-dir",
                             accountHome,         "--shell",      "/usr/sbin/nologin", "--gid",
                             accountGroup,        userPlaceholder};
    /// Reads the password twice from standard input, each followed by a line break.
    Command setSambaPassword{"/usr/bin/smbpasswd", "-c", sambaPlaceholder, "-s", "-a", userPlaceholder};
    /// Take back what setSambaPassword and createSystemUser made, or began to make.
    Command removeSambaAccount{"/usr/bin/smbpasswd", "-c", sambaPlaceholder, "-x", userPlaceholder};
    Command removeSystemUser{"/usr/sbin/userdel", userPlaceholder};
    Command listDisks{"/usr/bin/lsblk", "--json", "--bytes", "--output", "NAME,PATH,TYPE,SIZE,MODEL,MAJ:MIN"};
    Command listShares{"/usr/bin/testparm", "-s", sambaPlaceholder};
};

/// Settings of the agent, a JSON object in which comments are allowed. Every key may be left out.
struct Configuration {
    /// Numeric addresses, IPv4 or IPv6.
    std::vector<std::string> listen{"0.0.0.0", "::"};
    std::uint16_t port = defaultPort;
    std::filesystem::path tokenFile = defaultTokenFile;
    std::string sambaConfiguration = defaultSambaConfiguration;
    Commands commands;
};

/// Its text names the file and the key at fault.
class ConfigurationError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Throws ConfigurationError.
Configuration parseConfiguration(std::string_view text);

/// Throws ConfigurationError, also when the file cannot be read.
Configuration readConfiguration(const std::filesystem::path& file);

} // namespace ternvault::server

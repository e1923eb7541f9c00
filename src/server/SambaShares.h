#pragma once

#include "server/Programs.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ternvault::server {

/// Letters, digits, blanks, '.', '_' and '-', blanks within only, 80 characters at most, and none of the
/// names that Samba keeps for itself.
bool isShareName(std::string_view name);

/// Shares of Samba's configuration. Those that it adds stand in a file of their own, "mossbox.conf" beside
/// it, which the configuration includes by one line at its end.
class SambaShares {
public:
    /// `configuration` is Samba's own file, which is there.
    SambaShares(Programs& programs, std::filesystem::path configuration);

    /// Throws SetupError when Samba itself refuses its configuration.
    void check() const;
    /// The folder that a share serves as far as Samba understands its configuration; nothing when there is no
    /// such share.
    std::optional<std::filesystem::path> folderOf(const std::string& name) const;
    /// What keeps clients from writing to a share that is there, as in "is read only"; empty when nothing
    /// does.
    std::string obstacleOf(const std::string& name) const;
    /// The shares that let in whoever has a password in Samba.
    std::vector<std::string> openShares() const;
    /// Adds a share of `folder`, which every account may read and change. What Samba does not take leaves all
    /// files as they are. Throws SetupError or std::system_error.
    void add(const std::string& name, const std::filesystem::path& folder) const;

    const std::filesystem::path& configuration() const { return configuration_; }
    /// Where the added shares are.
    const std::filesystem::path& file() const { return file_; }
    /// What the configuration was before the line was added.
    const std::filesystem::path& backup() const { return backup_; }
    /// Whether the line is still to be added.
    bool lacksLine() const;

private:
    Programs& programs_;
    std::filesystem::path configuration_;
    std::filesystem::path file_;
    std::filesystem::path backup_;
};

} // namespace ternvault::server

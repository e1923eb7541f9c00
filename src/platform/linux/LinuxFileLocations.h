#pragma once

#include "platform/FileLocations.h"

namespace ternvault {

/// Places after the XDG base directories. The environment is read once, by the constructor.
class LinuxFileLocations final : public FileLocations {
public:
    /// `volumesRoot`: absolute.
    explicit LinuxFileLocations(const std::filesystem::path& volumesRoot);

    std::optional<std::filesystem::path> home() const override { return home_; }
    std::optional<std::filesystem::path> applicationSupport() const override { return data_; }
    std::filesystem::path volumesRoot() const override { return volumesRoot_; }
    /// `ternvault` beside the running program, whichever of the programs that is.
    std::filesystem::path applicationBundle() const override { return applicationBundle_; }
    uid_t userId() const override;

    /// The folder for the user's settings; nothing when the system knows none.
    std::optional<std::filesystem::path> configuration() const { return configuration_; }

    /// The folder for what this user's programs remember across restarts; nothing when the system knows none.
    std::optional<std::filesystem::path> state() const { return state_; }

private:
    std::filesystem::path volumesRoot_;
    std::filesystem::path applicationBundle_;
    std::optional<std::filesystem::path> home_;
    std::optional<std::filesystem::path> data_;
    std::optional<std::filesystem::path> configuration_;
    std::optional<std::filesystem::path> state_;
};

} // namespace ternvault

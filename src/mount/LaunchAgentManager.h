#pragma once

#include "platform/Platform.h"

#include <filesystem>
#include <optional>

namespace ternvault {

/// Starts the application at login, through the system's service manager. Stateless.
class LaunchAgentManager {
public:
    explicit LaunchAgentManager(const Platform& platform);

    /// Writes the agent's file afresh and loads it, or unloads it and deletes the file; idempotent. Without a
    /// home folder there is no file, and nothing is loaded. Blocks until every program has ended; failures
    /// are ignored. Main thread.
    void setEnabled(bool enabled) const;

private:
    std::optional<std::filesystem::path> agentFile() const;
    void install(const std::optional<std::filesystem::path>& file) const;
    void uninstall(const std::optional<std::filesystem::path>& file) const;
    void unload() const;
    QString domain() const;

    ProcessLauncher& processes_;
    FileManager& files_;
    const FileLocations& locations_;
};

} // namespace ternvault

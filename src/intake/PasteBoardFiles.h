#pragma once

#include "platform/FrontmostApplication.h"
#include "platform/ScriptHost.h"

#include <QString>

#include <filesystem>
#include <optional>

/// What the file manager in front shows. On the thread of the ports.
namespace ternvault::PasteBoardFiles {

/// The folder in the file manager's front window; nothing where there is none or it cannot be told.
std::optional<QString> finderFrontFolderPOSIX(ScriptHost& scripts);

/// The folder that a file manager in front shows, standardized, when it is on the volume: anything below
/// `volumesRoot` whose path begins with one of the agent's own names of shares.
std::optional<std::filesystem::path> finderFolderOnTernVault(const FrontmostApplication& frontmost,
                                                             ScriptHost& scripts,
                                                             const std::filesystem::path& volumesRoot);
bool finderIsOnTernVault(const FrontmostApplication& frontmost, ScriptHost& scripts,
                         const std::filesystem::path& volumesRoot);

} // namespace ternvault::PasteBoardFiles

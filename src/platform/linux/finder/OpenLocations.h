#pragma once

#include <QString>

#include <chrono>
#include <filesystem>
#include <optional>
#include <vector>

namespace ternvault::finder {

/// The folders that the file manager of that name on the session bus has open in the window of that object:
/// one for each tab. Nautilus tells them (`OpenWindowsWithLocations`); for any other there are none. Empty
/// when it owes the answer at the deadline. Nothing where a tab shows no folder of this PC: it may be the one
/// in front, and nothing tells its title. Any thread.
std::optional<std::vector<std::filesystem::path>>
openLocations(const QString& busName, const QString& windowPath,
              std::chrono::steady_clock::time_point deadline);

} // namespace ternvault::finder

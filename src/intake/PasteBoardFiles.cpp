#include "intake/PasteBoardFiles.h"

#include "base/StandardizedPath.h"

#include <algorithm>
#include <string_view>

namespace ternvault::PasteBoardFiles {

using namespace Qt::StringLiterals;

namespace {

const auto finder = u"com.apple.finder"_s;

const auto frontFolderScript = uR"(tell application "Finder"
  if (count of Finder windows) is 0 then return ""
  try
    return POSIX path of (target of front Finder window as alias)
  on error
    return ""
  end try
end tell)"_s;

/// Beginnings of names: "MOSSBOX1" is one of them, too.
constexpr std::string_view volumeNames[] = {"MOSSBOX", "MOSS BOX"};

} // namespace

std::optional<QString> finderFrontFolderPOSIX(ScriptHost& scripts) {
    const QString folder = scripts.run(frontFolderScript).value_or(QString()).trimmed();
    return folder.isEmpty() ? std::nullopt : std::optional(folder);
}

std::optional<std::filesystem::path> finderFolderOnTernVault(const FrontmostApplication& frontmost,
                                                             ScriptHost& scripts,
                                                             const std::filesystem::path& volumesRoot) {
    if (frontmost.bundleIdentifier() != finder)
        return std::nullopt;
    const std::optional<QString> folder = finderFrontFolderPOSIX(scripts);
    if (!folder)
        return std::nullopt;
    const std::filesystem::path path = standardized(folder->toStdString());
    const bool isOnVolume = std::ranges::any_of(volumeNames, [&](std::string_view name) {
        return path.native().starts_with((volumesRoot / name).native());
    });
    return isOnVolume ? std::optional(path) : std::nullopt;
}

bool finderIsOnTernVault(const FrontmostApplication& frontmost, ScriptHost& scripts,
                         const std::filesystem::path& volumesRoot) {
    return finderFolderOnTernVault(frontmost, scripts, volumesRoot).has_value();
}

} // namespace ternvault::PasteBoardFiles

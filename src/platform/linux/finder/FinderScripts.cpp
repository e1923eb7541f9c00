#include "platform/linux/finder/FinderScripts.h"

#include "platform/linux/finder/FileManagers.h"
#include "platform/linux/finder/ShownFolder.h"
#include "platform/linux/finder/WatchedFolders.h"

#include <algorithm>
#include <functional>

namespace ternvault::finder {

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

bool asksForFrontFolder(const QString& source) {
    return source.startsWith(u"tell application \"Finder\"\n"_s) &&
           source.contains(u"return POSIX path of (target of front Finder window as alias)\n"_s);
}

} // namespace

std::optional<QString> X11FrontmostApplication::bundleIdentifier() const {
    const std::optional<WindowInfo> window = front_.read();
    if (!window || window->className.isEmpty())
        return std::nullopt;
    return fileManagerOf(*window) != nullptr ? u"com.apple.finder"_s : QString::fromUtf8(window->className);
}

std::optional<QString> FinderScripts::run(const QString& source) {
    if (!asksForFrontFolder(source))
        return std::nullopt;
    return QString::fromStdString(frontFolder().value_or(fs::path()));
}

/// What was seen may be out of date, so the window has to have the title that it had, and every sign of a
/// folder has to agree with it and with what the file manager watches now.
std::optional<fs::path> FinderScripts::frontFolder() {
    const std::optional<FrontFolderWatch::Sight> seen = watch_.sight();
    const std::optional<WindowInfo> front = front_.read();
    if (!seen || !front || front->id != seen->window.id || front->title != seen->window.title)
        return std::nullopt;
    std::vector<fs::path> folders = seen->folders;
    std::erase_if(folders, [&](const fs::path& folder) {
        return !isTitledAfter(front->title, folder) || !isWatched(folder, front->process);
    });
    const bool agree =
        std::adjacent_find(folders.begin(), folders.end(), std::not_equal_to<>()) == folders.end();
    return agree && !folders.empty() ? std::optional(folders.front()) : std::nullopt;
}

} // namespace ternvault::finder

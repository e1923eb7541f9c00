#include "platform/linux/finder/FinderScripts.h"

#include "platform/linux/finder/FileManagers.h"
#include "platform/linux/finder/ShownFolder.h"
#include "platform/linux/finder/WatchedFolders.h"

#include <utility>

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

/// What was seen may be out of date, so the window has to have the title that it had, and the file manager
/// has to watch the folder now.
std::optional<fs::path> FinderScripts::frontFolder() {
    const std::optional<FrontFolderWatch::Sight> seen = watch_.sight();
    const std::optional<WindowInfo> front = front_.read();
    if (!seen || !front || front->id != seen->window.id || front->title != seen->window.title)
        return std::nullopt;
    std::vector<fs::path> folders = seen->folders;
    // A title with a dash may be read in several ways.
    std::erase_if(folders, [](const fs::path& folder) { return folder.is_absolute() && !isFolder(folder); });
    const std::optional<fs::path> folder = agreedFolder(std::move(folders), front->title);
    return folder && isWatched(*folder, front->process) ? folder : std::nullopt;
}

} // namespace ternvault::finder

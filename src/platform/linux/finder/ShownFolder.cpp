#include "platform/linux/finder/ShownFolder.h"

#include "base/FileUrl.h"
#include "base/StandardizedPath.h"

#include <QStringList>
#include <QUrl>

#include <algorithm>
#include <functional>
#include <map>
#include <set>

namespace ternvault::finder {

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

bool takesText(const AccessibleNode& node) {
    switch (node.role) {
    case accessible::comboBox: // stands for the field in it
    case accessible::passwordText:
    case accessible::terminal:
    case accessible::text:
    case accessible::entry:
        return true;
    default:
        return node.has(accessible::editable);
    }
}

} // namespace

Focus focusOf(const AccessibleNode& node) {
    if (takesText(node))
        return Focus::text;
    switch (node.role) {
    case accessible::icon:
    case accessible::listItem:
    case accessible::pageTab:
    case accessible::tableCell:
    case accessible::treeItem:
        return Focus::item;
    default:
        return Focus::control;
    }
}

namespace {

bool isButton(const AccessibleNode& node) {
    switch (node.role) {
    case accessible::checkBox:
    case accessible::pushButton:
    case accessible::radioButton:
    case accessible::toggleButton:
        return true;
    default:
        return false;
    }
}

std::optional<fs::path> pathIn(const QString& text) {
    if (text.startsWith("file:"_L1))
        return localPath(QUrl(text));
    return text.startsWith(u'/') ? std::optional(fs::path(text.toStdString())) : std::nullopt;
}

/// Some file managers add their own name, behind a dash of one kind or the other.
QStringList textsOfTitle(const QString& title) {
    return {title, title.section(u" - "_s, 0, -2), title.section(u" — "_s, 0, -2)};
}

/// Path buttons stand in a row, in either direction. The folder shown is the one that is pressed, or the
/// last. Of a row that does not begin at the root, such as of what is below the home folder, only the name is
/// known, if it is one of path buttons at all.
fs::path pathOfButtons(const std::vector<const AccessibleNode*>& row) {
    const auto root =
        std::find_if(row.begin(), row.end(), [](const auto* node) { return node->name == u"/"; });
    if (root == row.end())
        return row.back()->name.toStdString();
    fs::path path;
    for (auto button = root; button != row.end(); ++button) {
        path /= (*button)->name.toStdString();
        if ((*button)->has(accessible::checked))
            break;
    }
    return path;
}

/// The buttons of each row of them.
std::vector<std::vector<const AccessibleNode*>> rowsOfButtons(const AccessibleWindow& window) {
    std::map<int, std::vector<const AccessibleNode*>> rows;
    for (const AccessibleNode& node : window) {
        if (isButton(node))
            rows[node.parent].push_back(&node);
    }
    std::vector<std::vector<const AccessibleNode*>> result;
    for (auto& [parent, row] : rows) {
        result.push_back(row);
        result.emplace_back(row.rbegin(), row.rend());
    }
    return result;
}

} // namespace

Focus focusIn(const AccessibleWindow& window) {
    Focus focus = Focus::nothing;
    for (const AccessibleNode& node : window) {
        if (node.has(accessible::focused) && node.parent >= 0)
            focus = std::max(focus, focusOf(node));
    }
    return focus;
}

std::vector<fs::path> shownFolders(const AccessibleWindow& window, const QString& title) {
    std::set<fs::path> folders;
    const auto add = [&](const std::optional<fs::path>& path) {
        const fs::path folder = path && path->is_absolute() ? standardized(*path) : path.value_or(fs::path());
        if (folder.has_filename())
            folders.insert(folder);
    };
    for (const QString& text : textsOfTitle(title))
        add(pathIn(text));
    for (const AccessibleNode& node : window)
        add(pathIn(node.content));
    for (const auto& row : rowsOfButtons(window))
        add(pathOfButtons(row));
    return {folders.begin(), folders.end()};
}

bool isTitledAfter(const QString& title, const fs::path& folder) {
    const QStringList texts = textsOfTitle(title);
    return texts.contains(QString::fromStdString(folder.filename())) ||
           texts.contains(QString::fromStdString(folder));
}

std::optional<fs::path> agreedFolder(std::vector<fs::path> folders, const QString& title) {
    std::erase_if(folders, [&](const fs::path& folder) { return !isTitledAfter(title, folder); });
    const bool agree =
        std::adjacent_find(folders.begin(), folders.end(), std::not_equal_to<>()) == folders.end();
    const bool isTold = !folders.empty() && agree && folders.front().is_absolute();
    return isTold ? std::optional(folders.front()) : std::nullopt;
}

} // namespace ternvault::finder

#pragma once

#include "platform/linux/finder/AccessibleWindow.h"

#include <filesystem>
#include <optional>
#include <vector>

/// What the controls of a file manager's window say, whichever file manager it is.
namespace ternvault::finder {

/// What says that it has the focus, each stronger than the one before: nothing, only an item of a list,
/// another control, one that takes text. An item may say so without having it (Qt, GTK 2), while a field
/// above it that is not told of does.
enum class Focus { nothing, item, control, text };

/// What it stands for if it has the focus.
Focus focusOf(const AccessibleNode& node);
Focus focusIn(const AccessibleWindow& window);

/// The folders that the window may be showing, by its title, its location fields and its rows of path
/// buttons; only their name where no more is known.
std::vector<std::filesystem::path> shownFolders(const AccessibleWindow& window, const QString& title);

/// Whether the title is the folder's name or its path, with or without the file manager's name behind it.
bool isTitledAfter(const QString& title, const std::filesystem::path& folder);

/// The only one of the folders that the window is titled after; nothing where there are several, as with tabs
/// or views of folders of one name.
std::optional<std::filesystem::path> agreedFolder(std::vector<std::filesystem::path> folders,
                                                  const QString& title);

} // namespace ternvault::finder

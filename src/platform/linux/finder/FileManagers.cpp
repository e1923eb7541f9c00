#include "platform/linux/finder/FileManagers.h"

#include <algorithm>

namespace ternvault::finder {

namespace {

constexpr FileManager fileManagers[] = {
    // Once its window shows another folder, no control has the focus.
    {"Thunar", Focus::nothing},
    {"Pcmanfm", Focus::control},
    {"pcmanfm-qt", Focus::control},
    {"dolphin", Focus::control},
    // Nautilus. Each file is a control of its own.
    {"org.gnome.Nautilus", Focus::item}};

} // namespace

const FileManager* fileManagerOf(const WindowInfo& window) {
    const auto* const known =
        std::find_if(std::begin(fileManagers), std::end(fileManagers), [&](const FileManager& each) {
            return window.className == QByteArrayView(each.className);
        });
    return known != std::end(fileManagers) && !window.isTransient ? known : nullptr;
}

} // namespace ternvault::finder

#pragma once

#include <QString>

#include <cstdint>
#include <vector>

namespace ternvault::finder {

/// Numbers of AT-SPI 2, the protocol of assistive technologies (`AtspiRole` and `AtspiStateType`).
namespace accessible {
enum Role : std::uint32_t {
    checkBox = 7,
    comboBox = 11,
    icon = 26,
    listItem = 32,
    menu = 33,
    menuBar = 34,
    pageTab = 37,
    passwordText = 40,
    popupMenu = 41,
    pushButton = 43,
    radioButton = 44,
    tableCell = 56,
    terminal = 60,
    text = 61,
    toggleButton = 62,
    window = 69,
    entry = 79,
    treeItem = 91
};
enum State : unsigned { active = 1, checked = 4, editable = 7, focused = 12, showing = 25 };
} // namespace accessible

/// A control, as its program describes it.
struct AccessibleNode {
    /// Index of the control around it; -1 for a window.
    int parent = -1;
    std::uint32_t role = 0;
    /// A bit for each `accessible::State`.
    std::uint64_t states = 0;
    QString name;
    /// What stands in it, for a field that can be edited.
    QString content;

    bool has(accessible::State state) const { return (states >> state & 1) != 0; }
};

/// The controls of a window and of its popups, each after the one around it and the ones before it in that.
/// Without menus, and without what is in long lists, such as a folder's files.
using AccessibleWindow = std::vector<AccessibleNode>;

} // namespace ternvault::finder

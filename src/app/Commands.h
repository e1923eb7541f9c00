#pragma once

#include <QAction>

class QMenuBar;
class QMenu;
class QWidget;

namespace ternvault {

/// The application's commands as menu items; what they do is connected by their owner. One item may stand in
/// several menus. Outlives the widgets that show it.
class Commands {
public:
    Commands();

    /// Makes the shortcuts work in a window that has no menu bar.
    void addShortcutsTo(QWidget& window);
    /// `edit`: the Edit menu, which is owned by the menu bar.
    void fill(QMenuBar& bar, QMenu* edit);
    void fillTrayMenu(QMenu& menu);

    QAction showWindow;
    QAction pasteFiles;
    QAction addFiles;
    /// Checked while it holds.
    QAction takePastesOver;
    QAction settings;
    QAction closeWindow;
    QAction quit;
    QAction minimise;
    QAction legal;
    QAction about;
};

} // namespace ternvault

#pragma once

#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

#include <functional>
#include <memory>

namespace ternvault {

class Commands;

/// The icon in the desktop's tray, where it has one. At login the tray may come later than we do.
class TrayIcon final {
public:
    /// `clicked`: the icon itself.
    TrayIcon(Commands& commands, std::function<void()> clicked);

private:
    void awaitTray();
    void show();

    std::function<void()> clicked_;
    QMenu menu_;
    std::unique_ptr<QSystemTrayIcon> icon_;
    /// Ends what still waits for the tray.
    QObject context_;
};

} // namespace ternvault

#pragma once

#include "app/AnnouncedPaste.h"
#include "app/ApplicationActivation.h"
#include "app/ApplicationService.h"
#include "app/Commands.h"
#include "app/EditMenu.h"
#include "app/MainWindow.h"
#include "app/Notices.h"
#include "app/OpenedFiles.h"
#include "app/SettingsWindow.h"
#include "app/TapRefusalNotice.h"
#include "app/TapThread.h"
#include "app/TrayIcon.h"
#include "async/TaskScope.h"
#include "intake/PasteHook.h"
#include "model/AppModel.h"
#include "platform/linux/BusNotifications.h"
#include "platform/linux/ClipboardPasteboard.h"
#include "platform/linux/LinuxServices.h"
#include "platform/linux/PortalAppearance.h"
#include "platform/linux/QtKeyMonitor.h"
#include "platform/linux/X11EventTap.h"
#include "platform/linux/X11Pasteboard.h"
#include "platform/linux/finder/FinderScripts.h"
#include "platform/linux/finder/WatchedTap.h"
#include "ui/DoubleClickGuard.h"
#include "ui/FileChooser.h"
#include "ui/Theme.h"

#include <QPointer>
#include <QSettings>

#include <memory>

class QApplication;

namespace ternvault {

/// The application: owns the model and the windows, and connects both to the desktop. What it is given
/// outlives it. Main thread.
class TernVaultApp final {
public:
    TernVaultApp(QApplication& application, LinuxServices& services, Notices& notices);

    /// Opens the main window, or brings it back.
    void showMainWindow();
    /// Hands the files to the model, each by itself.
    void open(const std::vector<QUrl>& urls);
    /// Does what the desktop entry's action of this name says; nothing for any other name.
    void performAction(const QString& name);
    /// Before it is destroyed: false when a thread that uses it hangs, and the process has to leave through
    /// std::_Exit. Waits for each thread for `grace`.
    bool finish(std::chrono::milliseconds grace) {
        return tapThread_.finish(grace) && frontFolder_.finish(grace);
    }
    /// What the desktop may ask for.
    ApplicationService::Handlers requests();

private:
    void connectCommands();
    void onAppear();
    void onPainted();
    void tellWhatIsForgotten();
    void comeForwardOnceMapped();
    void switchTap();
    void onTapSwitched(bool isOn);
    void pasteFiles();
    void showSettings();
    void showLegalDocuments();
    void showAbout();
    /// Asks first while files are being copied. The end of the session does not come here.
    void quit();

    // In the order in which each uses what stands above it.
    Notices& notices_;
    /// Made before the theme sets a palette of ours.
    PortalAppearance appearance_;
    Theme theme_;
    DoubleClickGuard doubleClicks_;
    /// Window placement and other things of this desktop alone.
    QSettings desktopState_;
    FileChooser filePanel_;
    ClipboardPasteboard pasteboard_;
    ApplicationActivation activation_;
    Platform platform_;
    AppModel model_;
    DesktopNotification notification_;
    AnnouncedPaste paste_;
    OpenedFiles opened_;
    TaskScope tasks_;
    BusNotifications notifications_;
    QtKeyMonitor keys_;
    X11EventTap eventTap_;
    TapRefusalNotice tapRefusal_;
    X11Pasteboard tapPasteboard_;
    /// Used on the tap's thread.
    finder::FrontWindow frontWindow_;
    finder::X11FrontmostApplication frontmost_{frontWindow_};
    finder::FrontFolderWatch frontFolder_;
    finder::FinderScripts finderScripts_{frontFolder_, frontWindow_};
    finder::WatchedTap watchedTap_{eventTap_, frontFolder_};
    PasteHook pasteHook_;
    TapThread tapThread_;
    Commands commands_;
    MainWindow mainWindow_;
    std::unique_ptr<SettingsWindow> settings_;
    QPointer<QWidget> legalDocuments_;
    QPointer<QWidget> about_;
    QPointer<QWidget> quitSheet_;
    TrayIcon tray_;
};

} // namespace ternvault

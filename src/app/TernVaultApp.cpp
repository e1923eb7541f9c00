#include "app/TernVaultApp.h"

#include "app/ApplicationIcon.h"
#include "app/ContentView.h"
#include "app/LegalDocumentsDialog.h"
#include "app/Route.h"
#include "app/StartupToken.h"
#include "async/EscapeReport.h"
#include "intake/PasteTapBridge.h"
#include "platform/linux/MountedMedia.h"
#include "ui/BringForward.h"
#include "ui/Colours.h"
#include "ui/CopyingSheet.h"

#include <QApplication>
#include <QMenuBar>
#include <QMessageBox>
#include <QTimer>

#include <utility>

namespace ternvault {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr QSize aboutIconSize(64, 64);
/// What the tap takes at most to be refused.
constexpr auto tapPatience = 500ms;
const auto takesPastesOver = u"takesPastesOver"_s;

QString desktopStateFile(const LinuxServices& services) {
    // Without a folder, a name that nobody can make a file of.
    const std::filesystem::path folder = services.state().value_or("/dev/null") / "ternvault";
    return QString::fromStdString(folder / "desktop.ini");
}

CopyingSheet::Texts quitTexts() {
    return {u"Quit Tern Vault?"_s,
            u"Files are still being copied. If you quit now, the one under way may stay incomplete on "
            u"the volume, and what waits is not copied."_s,
            u"&Quit"_s, u"&Don’t Quit"_s};
}

QMessageBox* makeAboutBox(QWidget& window) {
    auto* const box = new QMessageBox(
        QMessageBox::NoIcon, u"About Tern Vault"_s,
        u"<h3>Tern Vault %1</h3><p>Makes a disk of a Linux PC on the home network usable as a drive.</p>"
        u"<p>Free software under the GNU General Public License, version 3 or later. It comes without any "
        u"warranty.</p>"_s.arg(QApplication::applicationVersion()),
        QMessageBox::Close, &window);
    box->setIconPixmap(applicationIcon().pixmap(aboutIconSize));
    box->setModal(false);
    return box;
}

} // namespace

TernVaultApp::TernVaultApp(QApplication& application, LinuxServices& services, Notices& notices)
    : notices_(notices), appearance_(isDark(QGuiApplication::palette())), theme_(application, appearance_),
      doubleClicks_(application), desktopState_(desktopStateFile(services), QSettings::IniFormat),
      filePanel_(desktopState_, mountedMedia, services.background(), services.mainLoop()),
      pasteboard_(*QApplication::clipboard()),
      platform_(services.platform({filePanel_, pasteboard_, activation_})), model_(platform_),
      notification_([this](const QString& token) {
          useStartupTokens({{u"activation-token"_s, token}});
          showMainWindow();
      }),
      paste_(model_, platform_.mainLoop, notification_), opened_(model_, platform_.mainLoop, notification_),
      tasks_(platform_.mainLoop,
             [this, report = reportEscapes(platform_.log)](const std::exception_ptr& escaped) {
                 report(escaped);
                 notices_.show(u"An internal error; the system's log tells more."_s);
             }),
      tapRefusal_(eventTap_, notices, desktopState_),
      pasteHook_(
          platform_,
          {keys_, notifications_, watchedTap_, tapRefusal_, tapPasteboard_, frontmost_, finderScripts_},
          tasks_),
      tapThread_(pasteHook_, watchedTap_),
      mainWindow_(desktopState_, [this] { return std::make_unique<ContentView>(model_, tasks_, platform_); },
                  {[this] { onAppear(); }, [this] { onPainted(); }}),
      tray_(commands_, [this] { showMainWindow(); }) {
    activation_.setWindow(mainWindow_);
    auto* const edit = new EditMenu(
        pasteboard_, [this] { return routeOf(model_) == Route::main; }, [this] { pasteFiles(); });
    edit->setParent(mainWindow_.menuBar(), edit->windowFlags());
    commands_.fill(*mainWindow_.menuBar(), edit);
    commands_.takePastesOver.setChecked(desktopState_.value(takesPastesOver, true).toBool());
    connectCommands();
}

void TernVaultApp::connectCommands() {
    const auto onTrigger = [this](QAction& item, auto action) {
        QObject::connect(&item, &QAction::triggered, &mainWindow_, action);
    };
    onTrigger(commands_.showWindow, [this] { showMainWindow(); });
    onTrigger(commands_.pasteFiles, [this] { pasteFiles(); });
    onTrigger(commands_.takePastesOver, [this](bool isOn) { onTapSwitched(isOn); });
    onTrigger(commands_.addFiles, [this] { model_.transfers.pickAndEnqueueFiles(); });
    onTrigger(commands_.settings, [this] { showSettings(); });
    onTrigger(commands_.legal, [this] { showLegalDocuments(); });
    onTrigger(commands_.about, [this] { showAbout(); });
    onTrigger(commands_.quit, [this] { quit(); });
    onTrigger(commands_.closeWindow, [] {
        if (QWidget* const window = QApplication::activeWindow())
            window->close();
    });
    onTrigger(commands_.minimise, [] {
        if (QWidget* const window = QApplication::activeWindow())
            window->showMinimized();
    });
}

void TernVaultApp::showMainWindow() {
    if (mainWindow_.isVisible())
        comeForwardOnceMapped();
    else
        mainWindow_.show();
}

void TernVaultApp::onAppear() {
    PasteTapBridge::model = paste_.weak();
    pasteHook_.installLocalMonitor();
    comeForwardOnceMapped();
}

/// What takes pastes over that are made elsewhere can wait until the window is on the screen.
void TernVaultApp::onPainted() {
    if (QApplication::windowIcon().isNull()) {
        QApplication::setWindowIcon(applicationIcon());
        tellWhatIsForgotten();
    }
    switchTap();
    pasteHook_.installRemotePasteTrigger();
}

void TernVaultApp::tellWhatIsForgotten() {
    if (!desktopState_.isWritable())
        notices_.show(u"%1 cannot be written: where windows are, and the like, will be forgotten."_s.arg(
            desktopState_.fileName()));
}

/// The window manager hears of a window only after it was told to appear.
void TernVaultApp::comeForwardOnceMapped() {
    QTimer::singleShot(0, &mainWindow_, [this] {
        activation_.activate();
        notices_.attach(mainWindow_);
    });
}

void TernVaultApp::open(const std::vector<QUrl>& urls) {
    opened_.open(urls, tasks_);
}

void TernVaultApp::performAction(const QString& name) {
    if (name == u"paste")
        commands_.pasteFiles.trigger();
    else if (name == u"add-files")
        commands_.addFiles.trigger();
}

ApplicationService::Handlers TernVaultApp::requests() {
    // The window comes first: it shows what becomes of the request.
    return {[this] { showMainWindow(); },
            [this](const std::vector<QUrl>& urls) {
                showMainWindow();
                open(urls);
            },
            [this](const QString& name) {
                showMainWindow();
                performAction(name);
            }};
}

void TernVaultApp::switchTap() {
    const bool isOn = commands_.takePastesOver.isChecked();
    watchedTap_.enable(isOn);
    if (isOn)
        tapThread_.start();
}

void TernVaultApp::onTapSwitched(bool isOn) {
    desktopState_.setValue(takesPastesOver, isOn);
    switchTap();
    if (isOn) {
        QTimer::singleShot(tapPatience, &mainWindow_, [this] {
            if (!PasteTapBridge::tapThreadStarted)
                tapRefusal_.tell();
        });
    }
}

void TernVaultApp::pasteFiles() {
    tasks_.spawn(paste_.pasteFromClipboard());
}

void TernVaultApp::showSettings() {
    if (!settings_) {
        settings_ = std::make_unique<SettingsWindow>(model_);
        commands_.addShortcutsTo(*settings_);
    }
    bringForward(*settings_);
}

void TernVaultApp::showLegalDocuments() {
    if (!legalDocuments_) {
        legalDocuments_ = new LegalDocumentsDialog(mainWindow_);
        legalDocuments_->setAttribute(Qt::WA_DeleteOnClose);
    }
    bringForward(*legalDocuments_);
}

void TernVaultApp::quit() {
    if (!model_.transfers.isTransferring)
        return QApplication::quit();
    showMainWindow();
    // After the window, which comes to the front on the next turn.
    QTimer::singleShot(0, &mainWindow_, [this] {
        if (!quitSheet_) {
            quitSheet_ =
                new CopyingSheet(mainWindow_, model_.transfers, quitTexts(), [] { QApplication::quit(); });
        }
        bringForward(*quitSheet_);
    });
}

void TernVaultApp::showAbout() {
    if (!about_) {
        about_ = makeAboutBox(mainWindow_);
        about_->setAttribute(Qt::WA_DeleteOnClose);
    }
    bringForward(*about_);
}

} // namespace ternvault

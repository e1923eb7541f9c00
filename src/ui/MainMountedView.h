#pragma once

#include "base/Lifetime.h"
#include "base/Task.h"
#include "ui/RenderOnChange.h"
#include "ui/Screen.h"

#include <QTimer>

class QCheckBox;
class QHBoxLayout;
class QLabel;
class QLineEdit;
class QPushButton;

namespace ternvault {

class AppModel;
class ClampedText;
class MainLoop;
class MountBadge;
class SharesList;
struct Platform;
class TaskScope;
class TransferPanel;

/// The main screen: the PC, its shares, the transfers and the volume. All of it takes dropped files.
class MainMountedView final : public Screen {
public:
    /// Starts with mounting and listing, once it is on the display. What the user begins runs in `tasks`,
    /// which outlive the view.
    MainMountedView(AppModel& model, TaskScope& tasks, const Platform& platform);
    ~MainMountedView() override;

    /// To the screen itself, which takes pastes.
    void takeFocus() override { setFocus(); }

private:
    QHBoxLayout* makeHeader();
    QWidget* makeServerBox();
    QWidget* makeDrivesBox();
    QHBoxLayout* makeActions();
    void onClick(QPushButton& button, bool (*isAllowed)(const AppModel&), Task<> (*operation)(AppModel&));

    static Task<> start(WeakRef<MainMountedView> view, AppModel& model);
    void render();
    void renderButtons();

    void paintEvent(QPaintEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

    LifetimeAnchor<MainMountedView> anchor_{this};
    AppModel& model_;
    TaskScope& tasks_;
    MainLoop& mainLoop_;
    ClampedText* status_;
    MountBadge* badge_;
    QLineEdit* server_;
    QLineEdit* port_;
    QLineEdit* user_;
    QLineEdit* password_;
    QPushButton* refresh_;
    QLabel* noDrives_;
    QLabel* sharesTitle_;
    SharesList* shares_;
    TransferPanel* transferPanel_;
    QCheckBox* autoConnect_;
    QPushButton* open_;
    QPushButton* eject_;
    QPushButton* mount_;
    QTimer beginning_;
    /// As it is painted.
    bool isTinted_ = false;
    RenderOnChange renderOnChange_;
};

} // namespace ternvault

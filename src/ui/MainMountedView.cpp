#include "ui/MainMountedView.h"

#include "async/TaskScope.h"
#include "intake/DroppedFiles.h"
#include "model/AppModel.h"
#include "ui/Announce.h"
#include "ui/Bindings.h"
#include "ui/CheckBox.h"
#include "ui/ClampedText.h"
#include "ui/Colours.h"
#include "ui/Controls.h"
#include "ui/DraggedItems.h"
#include "ui/MountBadge.h"
#include "ui/Operation.h"
#include "ui/SharesList.h"
#include "ui/TitledBox.h"
#include "ui/TransferPanel.h"

#include <QDragEnterEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QMimeData>
#include <QPainter>
#include <QPushButton>
#include <QShortcut>

#include <chrono>
#include <utility>

namespace ternvault {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// For the first paint; a window on another workspace gets none.
constexpr auto patience = 500ms;

constexpr int spacing = 14;
constexpr int padding = 20;
constexpr int headerSpacing = 4;
constexpr int statusLines = 2;
constexpr int serverSpacing = 8;
constexpr int drivesSpacing = 4;
constexpr int portWidth = 70;
constexpr int noDrivesPadding = 8;
constexpr float dropTint = 0.08F;

const auto title = u"Tern Vault"_s;
const auto serverTitle = u"Server"_s;
const auto serverPlaceholder = u"IP address"_s;
const auto portPlaceholder = u"Port"_s;
const auto refreshTitle = u"&Refresh drives"_s;
const auto userPlaceholder = u"SMB username"_s;
const auto passwordPlaceholder = u"SMB password"_s;
const auto drivesTitle = u"Drives on server"_s;
const auto noDrives = u"Connect to the Linux agent to list disks."_s;
const auto sharesTitle = u"SMB shares"_s;
const auto autoConnectTitle = u"Auto-connect at &login"_s;
const auto openTitle = u"&Open in Finder"_s;
const auto ejectTitle = u"E&ject"_s;
const auto mountTitle = u"&Mount as Tern Vault"_s;
const auto hint =
    u"No Desktop icon by default — use Open in Finder. Transfers run in this app (rsync). Allow "
    u"Accessibility once so ⌘V in a Tern Vault Finder window is redirected here too."_s;

bool canRefresh(const AppModel& model) {
    return !model.isBusy && !model.serverIP->isEmpty();
}

/// To open it and to eject it.
bool canUseVolume(const AppModel& model) {
    return model.mountedVolumeName->has_value() && !model.isBusy;
}

bool canMount(const AppModel& model) {
    return !model.isBusy && !model.mountedVolumeName->has_value() && !model.smbUser->isEmpty() &&
           !model.smbPassword->isEmpty();
}

bool hasListing(const AppModel& model) {
    return !model.disks->empty() || !model.shares->empty();
}

} // namespace

MainMountedView::MainMountedView(AppModel& model, TaskScope& tasks, const Platform& platform)
    : Screen(spacing, padding), model_(model), tasks_(tasks), mainLoop_(platform.mainLoop),
      status_(new ClampedText(statusLines, calloutSecondaryLook)), badge_(new MountBadge),
      server_(makeField(serverPlaceholder, serverPlaceholder)),
      port_(makeField(portPlaceholder, portPlaceholder)), user_(makeField(userPlaceholder, userPlaceholder)),
      password_(makeSecureField(passwordPlaceholder, passwordPlaceholder)),
      refresh_(makeButton(refreshTitle)), noDrives_(makeText(noDrives, explanationLook)),
      sharesTitle_(makeText(sharesTitle, captionLook)),
      shares_(new SharesList([&model](const QString& name) { model.selectedShare = name; })),
      transferPanel_(new TransferPanel(model, tasks, platform.activation)),
      autoConnect_(new CheckBox(autoConnectTitle)), open_(makeProminentButton(openTitle)),
      eject_(makeButton(ejectTitle)), mount_(makeButton(mountTitle)),
      renderOnChange_(model, [this] { render(); }) {
    setAcceptDrops(true);
    // For the paste command; with the keyboard alone the drop zone is the place to be.
    setFocusPolicy(Qt::ClickFocus);
    setAccessibleName(title);

    column().addLayout(makeHeader());
    column().addWidget(makeServerBox());
    column().addWidget(makeDrivesBox(), 1);
    column().addWidget(transferPanel_);
    column().addLayout(makeActions());
    column().addWidget(makeText(hint, captionLook));
    render();
    beginning_.setSingleShot(true);
    beginning_.callOnTimeout([this] { tasks_.spawn(start(anchor_.weak(), model_)); });
    beginning_.start(patience);
}

MainMountedView::~MainMountedView() {
    if (model_.isDropTargeted)
        model_.isDropTargeted = false;
}

QHBoxLayout* MainMountedView::makeHeader() {
    status_->setAccessibleDescription(u"Status"_s);
    auto* const texts = new QVBoxLayout;
    texts->setSpacing(headerSpacing);
    texts->addWidget(makeText(title, titleLook));
    texts->addWidget(status_);
    auto* const header = new QHBoxLayout;
    header->addLayout(texts, 1);
    header->addWidget(badge_);
    return header;
}

QWidget* MainMountedView::makeServerBox() {
    port_->setFixedWidth(portWidth);
    bind(*server_, model_.serverIP);
    bind(*port_, model_.agentPort);
    bind(*user_, model_.smbUser);
    bind(*password_, model_.smbPassword);
    onClick(*refresh_, canRefresh, [](AppModel& model) { return model.fetchDisks(); });
    auto* const refreshKey = new QShortcut(Qt::CTRL | Qt::Key_R, this);
    refreshKey->setAutoRepeat(false);
    connect(refreshKey, &QShortcut::activated, refresh_, &QPushButton::click);

    auto* const address = new QHBoxLayout;
    address->addWidget(server_, 1);
    address->addWidget(port_);
    address->addWidget(refresh_);
    auto* const account = new QHBoxLayout;
    account->addWidget(user_, 1);
    account->addWidget(password_, 1);
    auto* const box = new TitledBox(serverTitle, serverSpacing, 0);
    box->column().addLayout(address);
    box->column().addLayout(account);
    return box;
}

QWidget* MainMountedView::makeDrivesBox() {
    noDrives_->setContentsMargins(0, noDrivesPadding, 0, noDrivesPadding);
    shares_->setAccessibleName(sharesTitle);
    auto* const box = new TitledBox(drivesTitle, drivesSpacing, 0);
    box->column().addWidget(noDrives_);
    box->column().addWidget(sharesTitle_);
    box->column().addWidget(shares_, 1);
    return box;
}

QHBoxLayout* MainMountedView::makeActions() {
    bind(*autoConnect_, model_.autoConnect);
    connect(open_, &QPushButton::clicked, this, [this] { model_.openMountedVolumeInFinder(); });
    onClick(*eject_, canUseVolume, [](AppModel& model) { return model.unmount(); });
    onClick(*mount_, canMount, [](AppModel& model) { return model.mountSelected(true); });
    auto* const row = new QHBoxLayout;
    row->addWidget(autoConnect_, 0, Qt::AlignVCenter);
    row->addStretch();
    for (QPushButton* const button : {open_, eject_, mount_})
        row->addWidget(button);
    return row;
}

void MainMountedView::onClick(QPushButton& button, bool (*isAllowed)(const AppModel&),
                              Task<> (*operation)(AppModel&)) {
    connect(&button, &QPushButton::clicked, this,
            [this, isAllowed, operation] { tasks_.spawn(performIfAllowed(model_, isAllowed, operation)); });
}

/// A screen that has gone asks for nothing more; what is under way runs to its end.
Task<> MainMountedView::start(WeakRef<MainMountedView> view, AppModel& model) {
    co_await model.autoMountIfNeeded();
    if (view.get() != nullptr && !model.serverIP->isEmpty())
        co_await model.fetchDisks();
    model.refreshMounted();
}

void MainMountedView::render() {
    if (status_->display(model_.status))
        announce(*status_);
    badge_->display(model_.mountedVolumeName->has_value(), model_.hasAgentToken());
    showValue(*server_, model_.serverIP);
    showValue(*port_, model_.agentPort);
    showValue(*user_, model_.smbUser);
    showValue(*password_, model_.smbPassword);
    noDrives_->setVisible(!hasListing(model_));
    sharesTitle_->setVisible(hasListing(model_));
    shares_->display(model_.shares, model_.selectedShare);
    shares_->setVisible(hasListing(model_));
    transferPanel_->render();
    showValue(*autoConnect_, model_.autoConnect);
    renderButtons();
    if (std::exchange(isTinted_, *model_.isDropTargeted) != isTinted_)
        viewport()->update();
}

void MainMountedView::renderButtons() {
    refresh_->setEnabled(canRefresh(model_));
    open_->setEnabled(canUseVolume(model_));
    eject_->setEnabled(canUseVolume(model_));
    mount_->setEnabled(canMount(model_));
}

void MainMountedView::paintEvent(QPaintEvent* event) {
    if (beginning_.isActive())
        beginning_.start(0ms);
    if (isTinted_) {
        QPainter painter(viewport());
        painter.fillRect(viewport()->rect(), withOpacity(colour(ColourRole::accent, palette()), dropTint));
    }
    Screen::paintEvent(event);
}

void MainMountedView::dragEnterEvent(QDragEnterEvent* event) {
    // Where only a move is offered, the source would take its files away before they are copied.
    if (!event->possibleActions().testFlag(Qt::CopyAction) || !holdsFileURLs(*event->mimeData()))
        return;
    event->setDropAction(Qt::CopyAction);
    event->accept();
    model_.isDropTargeted = true;
}

void MainMountedView::dragLeaveEvent(QDragLeaveEvent*) {
    model_.isDropTargeted = false;
}

void MainMountedView::dropEvent(QDropEvent* event) {
    model_.isDropTargeted = false;
    event->setDropAction(Qt::CopyAction);
    event->setAccepted(handleDrop(itemProviders(*event->mimeData()), mainLoop_,
                                  [&model = model_, &tasks = tasks_](std::vector<QUrl> urls) {
                                      tasks.spawn(model.handleIncomingFileURLs(std::move(urls)));
                                  }));
}

} // namespace ternvault

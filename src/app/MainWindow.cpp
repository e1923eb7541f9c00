#include "app/MainWindow.h"

#include <QCloseEvent>
#include <QGridLayout>
#include <QScreen>
#include <QSettings>

#include <chrono>
#include <utility>

namespace ternvault {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr QSize minimumContentSize(640, 620);
/// Shows all of the main screen, where the display is high enough.
constexpr QSize firstSize(680, 860);
/// A window that is dragged moves many times a second.
constexpr auto saveDelay = 500ms;
/// A window that others cover, or on another workspace, gets no paint.
constexpr auto longestWaitForPaint = 1s;
const auto placementKey = u"mainWindow"_s;

} // namespace

MainWindow::MainWindow(QSettings& placement, ContentFactory makeContent, Moments moments)
    : placement_(placement), makeContent_(std::move(makeContent)), moments_(std::move(moments)) {
    setWindowTitle(u"Tern Vault"_s);
    auto* const frame = new QWidget;
    auto* const layout = new QGridLayout(frame);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setColumnMinimumWidth(0, minimumContentSize.width());
    layout->setRowMinimumHeight(0, minimumContentSize.height());
    setCentralWidget(frame);
    resize(firstSize.boundedTo(screen()->availableSize()));
    restoreGeometry(placement_.value(placementKey).toByteArray());
    saveSoon_.setSingleShot(true);
    saveSoon_.setInterval(saveDelay);
    saveSoon_.callOnTimeout(this, [this] { savePlacement(); });
    paintedSoon_.setSingleShot(true);
    paintedSoon_.callOnTimeout(this, [this] { moments_.painted(); });
}

MainWindow::~MainWindow() {
    if (saveSoon_.isActive())
        savePlacement();
}

void MainWindow::paintEvent(QPaintEvent* event) {
    QMainWindow::paintEvent(event);
    if (paintedSoon_.isActive())
        paintedSoon_.start(0ms);
}

void MainWindow::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    // A spontaneous one only ends being minimised.
    if (!event->spontaneous())
        appear();
}

void MainWindow::appear() {
    if (!content_) {
        content_ = makeContent_();
        static_cast<QGridLayout*>(centralWidget()->layout())->addWidget(content_.get(), 0, 0);
        content_->show();
    }
    paintedSoon_.start(longestWaitForPaint);
    moments_.appeared();
}

void MainWindow::closeEvent(QCloseEvent* event) {
    QMainWindow::closeEvent(event);
    // What is on the screen may be what asked for the close.
    QTimer::singleShot(0, this, [this] {
        if (!isVisible())
            content_.reset();
    });
}

void MainWindow::moveEvent(QMoveEvent* event) {
    QMainWindow::moveEvent(event);
    saveSoon_.start();
}

void MainWindow::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
    saveSoon_.start();
}

void MainWindow::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange)
        saveSoon_.start();
}

void MainWindow::savePlacement() {
    saveSoon_.stop();
    placement_.setValue(placementKey, saveGeometry());
}

} // namespace ternvault

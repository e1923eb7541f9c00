#pragma once

#include <QMainWindow>
#include <QTimer>

#include <functional>
#include <memory>

class QSettings;

namespace ternvault {

/// The main window. Its content exists while it is shown; closing it ends nothing else.
class MainWindow final : public QMainWindow {
public:
    using ContentFactory = std::function<std::unique_ptr<QWidget>()>;

    /// `placement` keeps size and position across starts. `appeared` is called each time the content appears.
    MainWindow(QSettings& placement, ContentFactory makeContent, std::function<void()> appeared);
    ~MainWindow() override;

private:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

    void appear();
    void savePlacement();

    QSettings& placement_;
    ContentFactory makeContent_;
    std::function<void()> appeared_;
    QTimer saveSoon_;
    std::unique_ptr<QWidget> content_;
};

} // namespace ternvault

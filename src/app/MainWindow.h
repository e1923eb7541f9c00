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

    struct Moments {
        /// Each time the content appears.
        std::function<void()> appeared;
        /// Each time after that: what the user sees is on the screen, or cannot be seen anyway, and there
        /// is time for what is not needed for that.
        std::function<void()> painted;
    };

    /// `placement` keeps size and position across starts.
    MainWindow(QSettings& placement, ContentFactory makeContent, Moments moments);
    ~MainWindow() override;

private:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

    void appear();
    void savePlacement();

    QSettings& placement_;
    ContentFactory makeContent_;
    Moments moments_;
    QTimer saveSoon_;
    QTimer paintedSoon_;
    std::unique_ptr<QWidget> content_;
};

} // namespace ternvault

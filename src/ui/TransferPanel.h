#pragma once

#include <QWidget>

class QLabel;
class QPushButton;
class QHBoxLayout;

namespace ternvault {

class AppModel;
class Activation;
class ClampedText;
class DropZone;
class TaskScope;
class TransferProgress;

/// The state of the copy queue, and three ways into it. The screen that holds it renders it.
class TransferPanel final : public QWidget {
public:
    TransferPanel(AppModel& model, TaskScope& tasks, Activation& activation);

    void render();

private:
    void addDropZoneButtons(TaskScope& tasks);
    QHBoxLayout* makeBottomRow();
    void renderStatus();
    void renderProgress();
    void renderError();

    AppModel& model_;
    ClampedText* status_;
    ClampedText* currentFile_;
    TransferProgress* progress_;
    ClampedText* waiting_;
    ClampedText* error_;
    DropZone* dropZone_;
    QPushButton* cancel_;
    QLabel* counters_;
    QPushButton* clearCounters_;
    bool wasTransferring_ = false;
    std::int64_t announcedErrors_ = 0;
};

} // namespace ternvault

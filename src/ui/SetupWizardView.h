#pragma once

#include "ui/RenderOnChange.h"
#include "ui/Screen.h"

class QLabel;
class QLineEdit;
class QPushButton;

namespace ternvault {

class AppModel;
class ClampedText;
class SegmentedPicker;
class TaskScope;

/// The screen of the setup: a new account on the PC, or one that exists.
class SetupWizardView final : public Screen {
public:
    /// The setup runs in `tasks`, which outlive the view: the screen goes before the setup's last steps.
    SetupWizardView(AppModel& model, TaskScope& tasks);

    /// To the first field that is empty.
    void takeFocus() override;

private:
    QWidget* makeHeader();
    QWidget* makeFields();
    void render();

    AppModel& model_;
    QLabel* explanation_;
    SegmentedPicker* mode_;
    QLineEdit* server_;
    QLineEdit* user_;
    QLineEdit* password_;
    ClampedText* error_;
    QPushButton* connect_;
    RenderOnChange renderOnChange_;
};

} // namespace ternvault

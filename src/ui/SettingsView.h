#pragma once

#include "ui/RenderOnChange.h"
#include "ui/Screen.h"

class QCheckBox;
class QLineEdit;

namespace ternvault {

class AppModel;

/// All settings, in effect at once. Available in every state of the application.
class SettingsView final : public Screen {
public:
    explicit SettingsView(AppModel& model);

private:
    void addFields();
    void addSwitches();
    void addActions();
    /// Asks first while files are being copied.
    void resetSetup();
    void render();

    AppModel& model_;
    QLineEdit* server_;
    QLineEdit* port_;
    QLineEdit* token_;
    QLineEdit* user_;
    QLineEdit* password_;
    QLineEdit* share_;
    QCheckBox* autoConnect_;
    QCheckBox* desktopIcon_;
    RenderOnChange renderOnChange_;
};

} // namespace ternvault

#pragma once

#include <QWidget>

namespace ternvault {

class AppModel;

class SettingsWindow final : public QWidget {
public:
    explicit SettingsWindow(AppModel& model);
};

} // namespace ternvault

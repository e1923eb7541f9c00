#pragma once

#include "app/Route.h"
#include "platform/Platform.h"
#include "ui/RenderOnChange.h"

#include <QWidget>

#include <memory>

namespace ternvault {

class Screen;
class TaskScope;

/// The content of the main window: exactly one screen, chosen from the model's state. A screen lives from
/// being chosen until another one is.
class ContentView final : public QWidget {
public:
    /// What the user begins on a screen runs in `tasks`.
    ContentView(AppModel& model, TaskScope& tasks, const Platform& platform);
    ~ContentView() override;

private:
    void showEvent(QShowEvent* event) override;
    void render();
    std::unique_ptr<Screen> makeScreen(Route route);

    AppModel& model_;
    TaskScope& tasks_;
    Platform platform_;
    Route route_;
    std::unique_ptr<Screen> screen_;
    RenderOnChange renderOnChange_;
};

} // namespace ternvault

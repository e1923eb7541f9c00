#include "app/ContentView.h"

#include "agent/LegalVersion.h"
#include "ui/LegalAcceptanceView.h"
#include "ui/MainMountedView.h"
#include "ui/SetupWizardView.h"

#include <QGridLayout>
#include <QShowEvent>

namespace ternvault {

namespace {

constexpr QSize least(580, 560);

} // namespace

ContentView::ContentView(AppModel& model, TaskScope& tasks, const Platform& platform)
    : model_(model), tasks_(tasks), platform_(platform), route_(routeOf(model)), screen_(makeScreen(route_)),
      renderOnChange_(model, [this] { render(); }) {
    auto* const layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setColumnMinimumWidth(0, least.width());
    layout->setRowMinimumHeight(0, least.height());
    layout->addWidget(screen_.get(), 0, 0);
}

ContentView::~ContentView() = default;

void ContentView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    // A spontaneous one only ends being minimised.
    if (!event->spontaneous())
        screen_->takeFocus();
}

void ContentView::render() {
    const Route route = routeOf(model_);
    if (route == route_)
        return;
    route_ = route;
    screen_.reset();
    screen_ = makeScreen(route);
    static_cast<QGridLayout*>(layout())->addWidget(screen_.get(), 0, 0);
    screen_->show();
    // The old screen took the focus with it.
    screen_->takeFocus();
}

std::unique_ptr<Screen> ContentView::makeScreen(Route route) {
    switch (route) {
    case Route::legal:
        return std::make_unique<LegalAcceptanceView>(model_, privacyURL(), termsURL(), platform_.workspace);
    case Route::setup:
        return std::make_unique<SetupWizardView>(model_, tasks_);
    case Route::main:
        break;
    }
    return std::make_unique<MainMountedView>(model_, tasks_, platform_);
}

} // namespace ternvault

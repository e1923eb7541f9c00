#include "app/SettingsWindow.h"

#include "ui/AccessibleRole.h"
#include "ui/SettingsView.h"

#include <QVBoxLayout>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr QSize contentSize(480, 520);

} // namespace

SettingsWindow::SettingsWindow(AppModel& model) {
    setAccessibleRole(*this, QAccessible::Window);
    setWindowTitle(u"Settings"_s);
    setFixedSize(contentSize);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new SettingsView(model));
}

} // namespace ternvault

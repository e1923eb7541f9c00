#pragma once

#include "support/ModelFixture.h"
#include "ui/LegalAcceptanceView.h"
#include "ui/MainMountedView.h"
#include "ui/SettingsView.h"
#include "ui/SetupWizardView.h"

#include <QAccessible>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QVBoxLayout>

namespace ternvault::test {

/// The name under which assistive technology knows a widget.
inline QString nameOf(QWidget& widget) {
    return QAccessible::queryAccessibleInterface(&widget)->text(QAccessible::Name);
}

inline ServerShare share(const QString& name) {
    return {name, {}, 0, 0, {}};
}

/// One screen in a window of its own, over a model with an account and faked ports.
class UiFixture : public ModelFixture {
protected:
    UiFixture() { (new QVBoxLayout(&window))->setContentsMargins(0, 0, 0, 0); }

    template <typename View, typename... Arguments>
    void show(QSize size, Arguments&&... arguments) {
        screen.reset();
        screen = std::make_unique<View>(model, std::forward<Arguments>(arguments)...);
        window.layout()->addWidget(screen.get());
        window.show();
        window.layout()->activate();
        window.resize(size);
        window.activateWindow();
        settle();
    }
    void showLegal() {
        show<LegalAcceptanceView>({640, 620}, QUrl(u"https://x/privacy"_s), QUrl(u"https://x/terms"_s),
                                  fake.workspace);
    }
    void showSetup() { show<SetupWizardView>({640, 620}, tasks); }
    void showMain(QSize size = {640, 620}) { show<MainMountedView>(size, tasks, fake.platform); }
    void showSettings() { show<SettingsView>({480, 520}); }

    /// Lets the model finish, the screens render and the layouts settle.
    void settle() {
        for (int turn = 0; turn < 8; ++turn) {
            fake.time.run();
            QTest::qWait(0);
        }
    }
    template <typename Widget>
    QList<Widget*> all() const {
        QList<Widget*> widgets;
        for (QWidget* const widget : window.findChildren<QWidget*>()) {
            if (auto* const wanted = dynamic_cast<Widget*>(widget))
                widgets << wanted;
        }
        return widgets;
    }
    template <typename Widget>
    Widget& find(const QString& name) const {
        for (Widget* const widget : all<Widget>()) {
            if (nameOf(*widget) == name)
                return *widget;
        }
        throw std::runtime_error("nothing is called " + name.toStdString());
    }
    QPushButton& button(const QString& title) const { return find<QPushButton>(title); }

    AppModel& model = startWithAccount();
    TaskScope tasks{fake.time, [](const std::exception_ptr&) { ADD_FAILURE() << "an exception escaped"; }};
    QWidget window;
    std::unique_ptr<QWidget> screen;
};

} // namespace ternvault::test

#include "platform/linux/QtKeyMonitor.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QLineEdit>
#include <QTest>
#include <QVBoxLayout>

#include <gtest/gtest.h>

namespace ternvault::test {

using namespace Qt::StringLiterals;

/// The flags of a key and its characters.
using Seen = std::pair<std::uint32_t, QString>;

/// A field in a window with a shortcut.
class LocalMonitor : public testing::Test {
protected:
    LocalMonitor() {
        action.setShortcut(Qt::CTRL | Qt::Key_B);
        QObject::connect(&action, &QAction::triggered, &window, [this] { ++triggered; });
        window.addAction(&action);
        field = new QLineEdit(&inner);
        (new QVBoxLayout(&window))->addWidget(&inner);
        window.show();
        window.activateWindow();
        field->setFocus();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
    }
    ~LocalMonitor() override { inner.setParent(nullptr); }

    QWidget window;
    QWidget inner;
    QLineEdit* field = nullptr;
    QAction action;
    int triggered = 0;
    std::vector<Seen> seen;
    bool takes = true;
    std::unique_ptr<KeyMonitor::Handle> handle = QtKeyMonitor().addLocalMonitor([this](const KeyDown& key) {
        seen.push_back({key.flags, key.charactersIgnoringModifiers.value_or(QString())});
        return takes;
    });
};

TEST_F(LocalMonitor, WhatItTakesNobodyElseSees) {
    QApplication::clipboard()->setText(u"pasted"_s);
    const auto press = [this] {
        for (const Qt::Key key : {Qt::Key_V, Qt::Key_B})
            QTest::keyClick(field, key, Qt::ControlModifier);
        QTest::keyClick(field, Qt::Key_X);
        QTest::keyClick(field, Qt::Key_F1, Qt::AltModifier);
    };
    const std::vector<Seen> keys{{key_flags::command, u"V"_s},
                                 {key_flags::command, u"B"_s},
                                 {0, u"X"_s},
                                 {key_flags::option, QString()}};
    press();
    EXPECT_TRUE(seen == keys) << seen.size() << " keys, modifiers alone are none";
    EXPECT_EQ(triggered, 0);
    EXPECT_EQ(field->text(), QString());

    seen.clear();
    takes = false;
    press();
    EXPECT_TRUE(seen == keys) << "each once, whoever it is offered to afterwards";
    EXPECT_EQ(triggered, 1);
    EXPECT_EQ(field->text(), u"pastedx"_s);

    handle.reset();
    press();
    EXPECT_EQ(seen.size(), keys.size());
    EXPECT_EQ(triggered, 2);
}

} // namespace ternvault::test

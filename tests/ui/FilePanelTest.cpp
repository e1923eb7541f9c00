#include "support/FakePlatform.h"
#include "support/TemporaryFolder.h"
#include "ui/FileChooser.h"

#include <QApplication>
#include <QDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>
#include <QToolButton>
#include <QTreeView>

#include <gtest/gtest.h>

#include <set>

namespace ternvault::test {

namespace {

const FilePanelTexts texts{u"Copy & go"_s, u"Choose"_s};

template <typename Widget>
Widget& named(const QWidget& window, const QString& name) {
    for (Widget* const widget : window.findChildren<Widget*>())
        if (widget->accessibleName() == name || widget->property("text") == name)
            return *widget;
    throw std::runtime_error("no such control");
}

class FilePanelTest : public testing::Test {
protected:
    FilePanelTest() {
        fs::create_directories(folder / "sub/inner");
        writeFile(folder / "a.txt", "a");
        writeFile(folder / ".hidden", "h");
        state.setValue(u"filePanel/folder"_s, path(""));
        panel.show(texts, [this](auto chosen) {
            ++completions;
            result = std::move(chosen);
        });
        for (QWidget* const window : QApplication::topLevelWidgets())
            if (auto* const shown = qobject_cast<QDialog*>(window))
                dialog = shown;
        EXPECT_TRUE(QTest::qWaitForWindowActive(dialog));
        time.run();
        list = dialog->findChild<QTreeView*>();
        confirm = &named<QPushButton>(*dialog, u"Copy && go"_s);
    }
    QString path(const fs::path& name) const {
        return QString::fromStdString((folder.path() / name).lexically_normal())
            .remove(QRegularExpression(u"/$"_s));
    }
    std::set<QString> names() const {
        std::set<QString> shown;
        for (int row = 0; row < list->model()->rowCount(list->rootIndex()); ++row)
            shown.insert(list->model()->index(row, 0, list->rootIndex()).data().toString());
        return shown;
    }
    bool waitFor(const std::set<QString>& expected) const {
        return QTest::qWaitFor([&] { return names() == expected; });
    }
    /// With what the key has looked at.
    void press(QWidget& control, Qt::Key key) {
        QTest::keyClick(&control, key);
        time.run();
    }
    void click(const QString& name) const {
        for (int row = 0; row < list->model()->rowCount(list->rootIndex()); ++row) {
            const QModelIndex index = list->model()->index(row, 0, list->rootIndex());
            if (index.data() == name)
                QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualRect(index).center());
        }
    }

    TemporaryFolder folder;
    TemporaryFolder stateFolder;
    QSettings state{QString::fromStdString(stateFolder / "desktop.ini"), QSettings::IniFormat};
    VirtualTime time;
    FileChooser panel{state, [] { return std::vector<fs::path>(); }, time, time};
    int completions = 0;
    std::optional<std::vector<fs::path>> result;
    QPointer<QDialog> dialog;
    QTreeView* list = nullptr;
    QPushButton* confirm = nullptr;
};

} // namespace

TEST_F(FilePanelTest, ShowsHiddenFilesOnDemandAndRemembersIt) {
    ASSERT_TRUE(waitFor({u"a.txt"_s, u"sub"_s}));
    EXPECT_FALSE(confirm->isEnabled()) << "nothing is chosen yet";
    QTest::keyClick(list, Qt::Key_H, Qt::ControlModifier);
    EXPECT_TRUE(waitFor({u".hidden"_s, u"a.txt"_s, u"sub"_s}));
    QTest::keyClick(dialog, Qt::Key_Escape);
    EXPECT_TRUE(state.value(u"filePanel/showHidden"_s).toBool());
}

TEST_F(FilePanelTest, AFolderThatDoesNotAnswerIsLeftAlone) {
    QLineEdit& place = named<QLineEdit>(*dialog, u"Folder"_s);
    place.setFocus();
    time.holdBackground = true;
    for (const char* silent : {"sub", "sub/inner"}) {
        place.setText(path(silent));
        press(place, Qt::Key_Return);
    }
    EXPECT_TRUE(waitFor({u"a.txt"_s, u"sub"_s})) << "what was there stays";
    time.holdBackground = false;
    time.run();
    EXPECT_EQ(place.text(), path("sub/inner")) << "the latest wish counts";
    named<QToolButton>(*dialog, u"Back"_s).click();
    time.run();
    EXPECT_EQ(place.text(), path(""));
}

TEST_F(FilePanelTest, GoesThroughFoldersWithTheKeyboard) {
    ASSERT_TRUE(waitFor({u"a.txt"_s, u"sub"_s}));
    QLineEdit& place = named<QLineEdit>(*dialog, u"Folder"_s);
    click(u"sub"_s);
    press(*list, Qt::Key_Right);
    EXPECT_EQ(place.text(), path("sub"));
    EXPECT_FALSE(confirm->isEnabled()) << "what was chosen is out of sight";
    EXPECT_TRUE(waitFor({u"inner"_s}));
    press(*list, Qt::Key_Backspace);
    EXPECT_EQ(place.text(), path(""));
    named<QToolButton>(*dialog, u"Back"_s).click();
    time.run();
    EXPECT_EQ(place.text(), path("sub"));

    place.setFocus();
    place.setText(path("nothing"));
    press(place, Qt::Key_Return);
    EXPECT_EQ(place.text(), path("nothing")) << "what was typed stays to be mended";
    place.setText(path("a.txt"));
    press(place, Qt::Key_Return);
    EXPECT_TRUE(confirm->isEnabled()) << "a file that was typed is chosen";
    ASSERT_EQ(completions, 0) << "and not yet taken";

    bool second = false;
    panel.show(texts, [&second](auto chosen) { second = !chosen.has_value(); });
    EXPECT_TRUE(QTest::qWaitFor([&second] { return second; })) << "one panel at a time";
    QTest::keyClick(dialog, Qt::Key_Escape);
    EXPECT_EQ(completions, 1);
    EXPECT_FALSE(result.has_value());
}

} // namespace ternvault::test

#include "app/ContentView.h"
#include "app/EditMenu.h"
#include "app/MainWindow.h"
#include "support/ModelFixture.h"
#include "support/TemporaryFolder.h"
#include "ui/LegalAcceptanceView.h"
#include "ui/MainMountedView.h"
#include "ui/SetupWizardView.h"

#include <QApplication>
#include <QClipboard>
#include <QPushButton>
#include <QSettings>
#include <QTest>

namespace ternvault::test {

namespace {

void turn() {
    for (int i = 0; i < 3; ++i)
        QCoreApplication::processEvents();
}

QAction* item(const QMenu& menu, const QString& title) {
    for (QAction* const action : menu.actions())
        if (action->text() == title)
            return action;
    return nullptr;
}

/// Names of the screens that exist below `content`.
std::string screens(const QWidget& content) {
    std::string result;
    for (const QObject* const child : content.children()) {
        result += dynamic_cast<const LegalAcceptanceView*>(child) ? "legal" : "";
        result += dynamic_cast<const SetupWizardView*>(child) ? "setup" : "";
        result += dynamic_cast<const MainMountedView*>(child) ? "main" : "";
    }
    return result;
}

} // namespace

class Shell : public ModelFixture {};

TEST_F(Shell, ShowsExactlyTheScreenThatTheFlagsAskForAndFollowsThem) {
    AppModel& model = start();
    TaskScope tasks(fake.time, [](const std::exception_ptr&) { ADD_FAILURE(); });
    ContentView content(model, tasks, fake.platform);
    content.show();

    for (const auto& [legalAccepted, setupComplete, screen] : {std::tuple(false, false, "legal"),
                                                               {false, true, "legal"},
                                                               {true, true, "main"},
                                                               {true, false, "setup"},
                                                               {true, true, "main"},
                                                               {false, false, "legal"}}) {
        const auto before = screens(content);
        model.legalAccepted = legalAccepted;
        model.setupComplete = setupComplete;
        EXPECT_EQ(screens(content), before) << "changes of one turn are one change";
        turn();
        EXPECT_EQ(screens(content), screen);
        EXPECT_TRUE(content.isAncestorOf(QApplication::focusWidget())) << screen;
    }
    const QWidget* const screen = content.findChild<LegalAcceptanceView*>();
    model.status = u"something else"_s;
    turn();
    EXPECT_EQ(content.findChild<LegalAcceptanceView*>(), screen) << "a screen stays while its route does";
}

TEST_F(Shell, PastesTextIntoFieldsAndFilesElsewhere) {
    bool takesFiles = true;
    int pasted = 0;
    EditMenu menu(
        fake.pasteboard, [&takesFiles] { return takesFiles; }, [&pasted] { ++pasted; });
    QWidget window;
    auto* const field = new QLineEdit(u"old"_s, &window);
    auto* const button = new QPushButton(&window);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QAction& paste = *item(menu, u"&Paste"_s);

    for (const auto& [focus, text, holdsFiles, mayTakeFiles, expected] :
         {std::tuple<QWidget*, const char*, bool, bool, bool>(field, "", false, true, false),
          {field, "new", false, true, true},
          {field, "", true, true, false},
          {button, "new", false, true, false},
          {button, "", true, true, true},
          {button, "", true, false, false}}) {
        QApplication::clipboard()->setText(QString::fromLatin1(text));
        fake.pasteboard.urls.clear();
        if (holdsFiles)
            fake.pasteboard.urls = {QUrl(u"file:///a"_s)};
        takesFiles = mayTakeFiles;
        focus->setFocus();
        Q_EMIT menu.aboutToShow();
        EXPECT_EQ(paste.isEnabled(), expected) << text << holdsFiles << mayTakeFiles;
    }

    takesFiles = true;
    paste.trigger();
    EXPECT_EQ(pasted, 0) << "nothing was pasted where the item is disabled";
    Q_EMIT menu.aboutToShow();
    paste.trigger();
    EXPECT_EQ(pasted, 1);
    EXPECT_FALSE(item(menu, u"&Copy"_s)->isEnabled());

    QApplication::clipboard()->setText(u"new"_s);
    field->setFocus();
    item(menu, u"Select &All"_s)->trigger();
    EXPECT_TRUE(item(menu, u"&Copy"_s)->isEnabled());
    paste.trigger();
    EXPECT_EQ(field->text(), u"new"_s);
    EXPECT_EQ(pasted, 1);
    item(menu, u"&Undo"_s)->trigger();
    EXPECT_EQ(field->text(), u"old"_s);
    field->setEchoMode(QLineEdit::Password);
    field->selectAll();
    EXPECT_FALSE(item(menu, u"Cu&t"_s)->isEnabled()) << "a masked field gives nothing away";
}

TEST(MainWindow, KeepsItsPlaceAndHasContentOnlyWhileItIsShown) {
    const TemporaryFolder folder;
    const QString file = QString::fromStdString(folder / "desktop.ini");
    int appearances = 0;
    QPointer<QWidget> content;
    const auto makeContent = [&content] {
        auto made = std::make_unique<QWidget>();
        content = made.get();
        return made;
    };
    int paints = 0;
    const MainWindow::Moments moments{[&appearances] { ++appearances; }, [&paints] { ++paints; }};
    const QRect place(60, 40, 700, 690);
    {
        QSettings settings(file, QSettings::IniFormat);
        MainWindow window(settings, makeContent, moments);
        EXPECT_FALSE(content);
        window.show();
        EXPECT_TRUE(content);
        EXPECT_GE(window.minimumSizeHint().height(), 620);
        window.setGeometry(place);
        window.close();
        turn();
        EXPECT_FALSE(content) << "what was on the screen is gone with it";
        window.show();
        turn();
        EXPECT_TRUE(content);
        EXPECT_EQ(appearances, 2);
        EXPECT_EQ(paints, 1) << "the first time, it was closed at once";
        EXPECT_EQ(window.geometry(), place);
    }
    QSettings settings(file, QSettings::IniFormat);
    MainWindow next(settings, makeContent, moments);
    next.show();
    EXPECT_EQ(next.geometry(), place);
}

} // namespace ternvault::test

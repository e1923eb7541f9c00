#include "ui/ClampedText.h"
#include "ui/CopyingSheet.h"
#include "ui/DropZone.h"
#include "ui/UiFixture.h"

#include <QProgressBar>
#include <QTextDocument>
#include <QWindow>

namespace ternvault::test {

struct Panel : UiFixture {
    Panel() { showMain({700, 1000}); }
    TransferManager& transfers = model.transfers;
};

TEST_F(Panel, ShowsWhatTheStateCallsFor) {
    QProgressBar& bar = find<QProgressBar>(u"Transfer progress"_s);
    for (const auto& [isTransferring, file, completed, total, errors, hasFailed, showsProgress, showsError,
                      offersCancel, offersClearing, percent] :
         {std::tuple(false, "", 0, 0, 0, false, false, false, false, false, 0),
          {true, "", 0, 0, 0, false, true, false, true, false, 0},
          {true, "f & <b>", 1, 4, 0, true, true, false, true, false, 25},
          {true, "f", 2, 4, 1, false, true, false, true, false, 50},
          {true, "f", 3, 4, 1, true, true, true, true, false, 75},
          {false, "f", 4, 4, 0, false, true, false, false, true, 100},
          {true, "f", 5, 4, 0, false, true, false, true, false, 100},
          {false, "", 3, 4, 1, true, false, true, false, true, 75},
          {false, "", 0, 0, 2, true, false, true, false, false, 0}}) {
        SCOPED_TRACE(testing::Message() << isTransferring << file << completed << errors);
        transfers.isTransferring = isTransferring;
        transfers.currentFileName = QString::fromLatin1(file);
        transfers.completedCount = completed;
        transfers.totalCount = total;
        transfers.errorCount = errors;
        transfers.lastError = hasFailed ? std::optional(u"it <b>failed</b>"_s) : std::nullopt;
        settle();
        EXPECT_EQ(bar.isVisible(), showsProgress);
        EXPECT_EQ(100 * bar.value() / bar.maximum(), percent);
        if (showsProgress) {
            EXPECT_TRUE(find<ClampedText>(QString::fromLatin1(file)).isVisible());
        }
        const auto isError = [](ClampedText* text) {
            return text->isVisible() && nameOf(*text) == u"it <b>failed</b>"_s;
        };
        EXPECT_EQ(std::ranges::any_of(all<ClampedText>(), isError), showsError);
        EXPECT_EQ(button(u"Cancel"_s).isVisible(), offersCancel);
        EXPECT_EQ(button(u"Clear counters"_s).isVisible(), offersClearing);
        EXPECT_TRUE(find<QLabel>(transfers.progressLabel()).isVisible());
    }
}

TEST_F(Panel, SaysWhatACopyWaitsForInALineOfItsOwn) {
    const QString note = u"another <b>copy</b>"_s;
    transfers.waitingNote = note;
    settle();
    EXPECT_TRUE(find<ClampedText>(note).isVisible());
    transfers.waitingNote = std::nullopt;
    settle();
    for (const ClampedText* const text : all<ClampedText>())
        EXPECT_FALSE(text->isVisible() && text->text() == note);
}

TEST_F(Panel, ShowsNamesAsTheyAre) {
    const QString name = u"<b>Tom</b> & <i>"_s + QString(400, u'x') + u"</i>.txt"_s;
    transfers.currentFileName = name;
    settle();
    ClampedText& text = find<ClampedText>(name);
    EXPECT_LE(text.height(), 2 * text.fontMetrics().lineSpacing());
    const auto hover = [&text] {
        QHelpEvent help(QEvent::ToolTip, {}, {});
        QApplication::sendEvent(&text, &help);
    };
    hover();
    QTextDocument tip;
    if (Qt::mightBeRichText(text.toolTip()))
        tip.setHtml(text.toolTip());
    else
        tip.setPlainText(text.toolTip());
    EXPECT_EQ(tip.toPlainText(), name) << "what is left out is in the tool tip";
    transfers.currentFileName = u"short & sweet"_s;
    settle();
    hover();
    EXPECT_EQ(text.toolTip(), u""_s);
}

TEST_F(Panel, AnEndlessTextHoldsNobodyUp) {
    const QString endless = u"<b>It</b> & it\n"_s.repeated(500'000);
    model.status = endless;
    transfers.errorCount = 1;
    transfers.lastError = endless;
    QElapsedTimer timer;
    timer.start();
    settle();
    int shown = 0;
    for (ClampedText* const text : all<ClampedText>()) {
        QHelpEvent help(QEvent::ToolTip, {}, text->mapToGlobal(QPoint()));
        QApplication::sendEvent(text, &help);
        settle();
        EXPECT_LT(nameOf(*text).size(), 5000);
        shown += nameOf(*text).endsWith(u'…') ? 1 : 0;
    }
    EXPECT_LT(timer.elapsed(), 5000);
    EXPECT_EQ(shown, 2);
    EXPECT_EQ(*model.status, endless);
}

TEST_F(Panel, AClickOnTheZoneOnlyActivates) {
    DropZone& zone = *all<DropZone>().first();
    QLabel& headline = *zone.findChildren<QLabel*>().first();
    QPushButton& paste = button(u"Paste files now"_s);
    QPushButton& add = button(u"Add Files…"_s);
    const auto click = [this](QWidget& on, QPoint at) {
        QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, on.mapTo(&window, at));
        settle();
    };
    click(zone, {8, 8});
    click(headline, headline.rect().center());
    EXPECT_EQ(fake.activation.count, 2);
    EXPECT_FALSE(fake.filePanel.pending);
    EXPECT_EQ(*transfers.lastError, std::nullopt) << "nothing was pasted";
    click(add, add.rect().center());
    EXPECT_TRUE(fake.filePanel.pending);
    click(paste, paste.rect().center());
    EXPECT_TRUE(transfers.lastError->has_value()) << "there was nothing to paste";
    EXPECT_EQ(fake.activation.count, 2);

    transfers.totalCount = 2;
    settle();
    button(u"Clear counters"_s).click();
    EXPECT_EQ(transfers.totalCount, 0);
    transfers.isTransferring = true;
    settle();
    button(u"Cancel"_s).click();
    EXPECT_FALSE(transfers.isTransferring);
}

/// Each click at the edge of its button, where the other one comes under the pointer.
TEST_F(Panel, TheSecondClickOfADoubleClickDoesNotUndoTheFirst) {
    fake.time.holdBackground = true;
    fake.files.entries = {{"/Volumes/MOSSBOX1", true}, {"/letter", false}};
    fake.pasteboard.urls = {QUrl(u"file:///letter"_s)};
    QPushButton& paste = button(u"Paste files now"_s);
    QPushButton& cancel = button(u"Cancel"_s);
    const auto click = [this](QPoint at) {
        const int time = QTest::lastMouseTimestamp;
        QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, at);
        settle();
        // QTest keeps clicks apart.
        QTest::lastMouseTimestamp = time + 100;
    };
    const auto pause = [] { QTest::lastMouseTimestamp += 1000; };
    const auto edge = [this](QWidget& of, int x) { return of.mapTo(&window, QPoint(x, of.height() / 2)); };

    for (int time = 0; time < 2; ++time) {
        const QPoint right = edge(paste, paste.width() - 2);
        pause();
        for (int clicks = 0; clicks < 4; ++clicks) {
            click(right);
            EXPECT_TRUE(transfers.isTransferring) << "begun, and not cancelled";
            ASSERT_EQ(window.childAt(right), &cancel);
        }
        click(right);
        EXPECT_FALSE(transfers.isTransferring) << "who goes on clicking means it";
        pause();
        click(right);
        const QPoint left = edge(cancel, 2);
        pause();
        for (int clicks = 0; clicks < 3; ++clicks) {
            click(left);
            EXPECT_FALSE(transfers.isTransferring) << "cancelled, and not begun anew";
            ASSERT_EQ(window.childAt(left), &paste);
        }
    }
    QPushButton& add = button(u"Add Files…"_s);
    click(edge(add, add.width() / 2));
    EXPECT_TRUE(fake.filePanel.pending) << "a button that stayed where it is counts at once";

    QPushButton beside;
    beside.show();
    bool isPressed = false;
    QObject::connect(&beside, &QPushButton::pressed, [&] { isPressed = true; });
    pause();
    click({1, 1});
    QTest::mouseClick(beside.windowHandle(), Qt::LeftButton);
    EXPECT_TRUE(isPressed) << "so does one in another window";
}

/// Over a copy of "first", with "second" and eight others behind it.
struct Sheet : UiFixture {
    Sheet() {
        fake.time.holdBackground = true;
        fake.processes.executables = {u"/usr/bin/rsync"_s};
        fake.files.entries = {{"/Volumes/MOSSBOX1", true}};
        std::vector<std::filesystem::path> files;
        for (const char* const name : {"first", "second", "3", "4", "5", "6", "7", "8", "9", "10"}) {
            files.push_back(std::string("/s/") + name);
            fake.files.entries[files.back()] = false;
        }
        model.setupComplete = true;
        showSettings();
        model.transfers.enqueue(files, "/Volumes/MOSSBOX1");
        settle();
    }
    void askToReset() {
        button(u"Reset setup (show Create / Login again)"_s).click();
        settle();
    }
    void finishCopies() {
        fake.time.holdBackground = false;
        settle();
    }
    CopyingSheet* sheet() const { return all<CopyingSheet>().value(0); }
    bool shows(const QString& text) const {
        const auto isShown = [&text](QLabel* label) { return label->isVisible() && label->text() == text; };
        return std::ranges::any_of(sheet()->findChildren<QLabel*>(), isShown);
    }
    void press(Qt::Key key) {
        QTest::keyClick(QApplication::focusWidget(), key);
        settle();
    }
};

TEST_F(Sheet, AsksBeforeAResetWhileTheCopyGoesOn) {
    for (const auto& [keys, isReset] : {std::pair(std::vector{Qt::Key_Return}, false),
                                        {{Qt::Key_Escape}, false},
                                        {{Qt::Key_Backtab, Qt::Key_Return}, true}}) {
        askToReset();
        ASSERT_TRUE(sheet());
        EXPECT_EQ(std::pair(sheet()->windowModality(), nameOf(*sheet())),
                  std::pair(Qt::WindowModal, u"Reset the setup?"_s));
        EXPECT_TRUE(shows(u"first"_s));
        EXPECT_TRUE(shows(u"9 — second, 3, 4, 5, 6, 7, 8, 9, …"_s));
        EXPECT_TRUE(model.setupComplete);
        for (const Qt::Key key : keys)
            press(key);
        EXPECT_FALSE(sheet());
        EXPECT_EQ(model.setupComplete, !isReset);
        EXPECT_TRUE(model.transfers.isTransferring) << "the copy goes on";
    }
}

TEST_F(Sheet, FollowsTheCopyToItsEndAndIsNotShownWithoutOne) {
    askToReset();
    model.transfers.currentFileName = u"a & <b>"_s;
    settle();
    EXPECT_TRUE(shows(u"a & <b>"_s));
    finishCopies();
    ASSERT_TRUE(sheet()) << "nothing is done without an answer";
    EXPECT_TRUE(shows(u"The copying has ended meanwhile. "_s + *model.transfers.statusLine));
    EXPECT_TRUE(sheet()->accessibleDescription().startsWith(u"The copying has ended"_s));
    EXPECT_TRUE(shows(u"Nothing"_s));
    EXPECT_TRUE(model.setupComplete);
    press(Qt::Key_Return);
    EXPECT_FALSE(sheet());
    EXPECT_TRUE(model.setupComplete);
    askToReset();
    EXPECT_FALSE(sheet());
    EXPECT_FALSE(model.setupComplete);
}

TEST_F(Panel, TenThousandJobsLeaveNothingBehind) {
    fake.processes.executables = {u"/usr/bin/rsync"_s};
    fake.files.entries = {{"/Volumes/MOSSBOX1", true}};
    const auto copy = [this](int batch) {
        std::vector<std::filesystem::path> files;
        for (int index = 0; index < 100; ++index) {
            files.push_back("/s/" + std::to_string(100 * batch + index));
            fake.files.entries[files.back()] = false;
        }
        transfers.enqueue(files, "/Volumes/MOSSBOX1");
        settle();
    };
    copy(0);
    const qsizetype objects = all<QObject>().size();
    for (int batch = 1; batch < 100; ++batch)
        copy(batch);
    EXPECT_EQ(transfers.completedCount, 10000);
    EXPECT_EQ(all<QObject>().size(), objects);
}

} // namespace ternvault::test

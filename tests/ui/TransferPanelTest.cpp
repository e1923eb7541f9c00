#include "ui/ClampedText.h"
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

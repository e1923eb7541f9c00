#include "ui/ButtonKind.h"
#include "ui/Colours.h"
#include "ui/DropZone.h"
#include "ui/MountBadge.h"
#include "ui/TitledBox.h"
#include "ui/UiFixture.h"

#include <QApplication>
#include <QListView>
#include <QRadioButton>

#include <cmath>
#include <map>

namespace ternvault::test {
namespace {

/// Every screen with all it can show at once.
struct Look : UiFixture {
    Look() {
        model.shares =
            std::vector<ServerShare>(5, ServerShare{u"MOSSBOX1"_s, {}, 123'456'789, 999'999'999'999, {}});
        model.status =
            u"Volume at /Volumes/MOSSBOX1 — paste Agent token in Settings to list drives. "_s.repeated(3);
        model.legalError = u"Accept both the Privacy Policy and Terms & Conditions to continue"_s;
        model.setupError = *model.status;
        model.mountedVolumeName = u"MOSSBOX1"_s;
        model.acceptedPrivacy = true;
        model.acceptedTerms = true;
        model.transfers.currentFileName = *model.status;
        model.transfers.lastError = *model.status;
        model.transfers.statusLine = *model.status;
        model.transfers.errorCount = 10000;
        model.transfers.totalCount = 10000;
        model.transfers.isTransferring = true;
    }
    void eachScreen(const std::function<void()>& check) {
        const std::vector<std::pair<const char*, std::function<void()>>> screens{
            {"legal", [this] { showLegal(); }},
            {"create", [this] { showSetup(); }},
            {"login", [this] { model.authMode = AuthMode::login, showSetup(); }},
            {"main", [this] { showMain(); }},
            {"settings", [this] { showSettings(); }}};
        for (const auto& [name, show] : screens) {
            SCOPED_TRACE(name);
            show();
            check();
        }
    }
    QList<QWidget*> shown(const std::function<bool(QWidget&)>& wanted) const {
        QList<QWidget*> widgets;
        for (QWidget* const widget : all<QWidget>()) {
            if (widget->isVisible() && wanted(*widget))
                widgets << widget;
        }
        return widgets;
    }
    QRect place(const QWidget& widget) const { return {widget.mapTo(screen.get(), QPoint()), widget.size()}; }
};

bool isContent(QWidget& widget) {
    return qobject_cast<QLabel*>(&widget) || qobject_cast<QAbstractButton*>(&widget) ||
           qobject_cast<QLineEdit*>(&widget) || qobject_cast<QListView*>(&widget) ||
           dynamic_cast<MountBadge*>(&widget);
}

/// The place that the whole text takes: what wraps has room for its longest word and for all of its lines.
QSize needed(const QWidget& widget) {
    const QFontMetrics metrics(widget.font());
    if (const auto* const edit = qobject_cast<const QLineEdit*>(&widget)) {
        constexpr int border = 1, verticalPadding = 4, horizontalPadding = 7;
        return {metrics.horizontalAdvance(edit->placeholderText()) + 2 * (border + horizontalPadding),
                metrics.height() + 2 * (border + verticalPadding)};
    }
    if (!widget.hasHeightForWidth())
        return {widget.sizeHint().width(), widget.minimumSizeHint().height()};
    const auto* const label = qobject_cast<const QLabel*>(&widget);
    int longest = 0;
    for (const QString& word :
         (label ? label->text() : static_cast<const QAbstractButton&>(widget).text()).split(u' '))
        longest = std::max(longest, metrics.horizontalAdvance(word));
    return {longest, widget.heightForWidth(widget.width())};
}

TEST_F(Look, HasRoomForEveryText) {
    const QFont usual = QApplication::font();
    for (const double factor : {1.0, 1.3}) {
        QFont font = usual;
        font.setPixelSize(qRound(usual.pixelSize() * factor));
        QApplication::setFont(font);
        eachScreen([&] {
            const QList<QWidget*> content = shown(isContent);
            EXPECT_LE(window.width(), dynamic_cast<SettingsView*>(screen.get()) ? 480 : 640);
            for (const QWidget* const widget : content) {
                SCOPED_TRACE(testing::Message()
                             << factor << ' ' << nameOf(*const_cast<QWidget*>(widget)).toStdString());
                const QSize need = needed(*widget);
                const auto* const button = qobject_cast<const QPushButton*>(widget);
                const int standsOut = button && kindOf(button) == ButtonKind::link ? linkPadding : 0;
                EXPECT_LE(need.width(), widget->width());
                EXPECT_LE(need.height(), widget->height());
                for (const QWidget* around = widget->parentWidget(); around != screen.get();
                     around = around->parentWidget()) {
                    const QRect inside = around->layout() ? around->layout()->contentsRect() : around->rect();
                    const QRect own(widget->mapTo(around, QPoint()), widget->size());
                    EXPECT_TRUE(inside.left() <= own.left() + standsOut && own.right() <= inside.right())
                        << around->metaObject()->className();
                    if (around->layout()) {
                        EXPECT_TRUE(inside.top() <= own.top() + standsOut &&
                                    own.bottom() <= inside.bottom() + standsOut);
                    }
                }
                for (const QWidget* const other : content) {
                    EXPECT_TRUE(other == widget || !place(*other).intersects(place(*widget)))
                        << nameOf(*const_cast<QWidget*>(other)).toStdString();
                }
            }
            const auto* const viewport = static_cast<QAbstractScrollArea*>(screen.get())->viewport();
            EXPECT_EQ(viewport->childAt(1, 1)->width(), viewport->width()) << "nothing is beside the view";
            for (const TitledBox* const box : all<TitledBox>()) {
                QFont bold = box->font();
                bold.setWeight(QFont::DemiBold);
                EXPECT_LE(QFontMetrics(bold).horizontalAdvance(box->accessibleName()), box->width());
                EXPECT_GT(box->layout()->contentsMargins().top(),
                          box->accessibleName().isEmpty() ? 0 : QFontMetrics(bold).height());
            }
        });
    }
    QApplication::setFont(usual);
}

TEST_F(Look, FollowsTheFontWhileItRuns) {
    showMain();
    const QWidget& heading = find<QLabel>(u"Tern Vault"_s);
    const QFont usual = QApplication::font();
    EXPECT_EQ(heading.font().pixelSize(), usual.pixelSize() * 28 / 13);
    QFont larger = usual;
    larger.setPixelSize(2 * usual.pixelSize());
    QApplication::setFont(larger);
    EXPECT_EQ(heading.font().pixelSize(), larger.pixelSize() * 28 / 13);
    EXPECT_EQ(heading.font().weight(), QFont::Bold);
    QEvent desktopChanged(QEvent::ThemeChange);
    QCoreApplication::sendEvent(window.windowHandle(), &desktopChanged);
    EXPECT_EQ(QApplication::font(), usual) << "the desktop's own font, whatever was set before";
    EXPECT_EQ(heading.font().pixelSize(), usual.pixelSize() * 28 / 13);
}

double luminance(const QColor& colour) {
    const auto linear = [](double part) {
        return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

TEST(Colours, AreLegible) {
    using enum ColourRole;
    const std::pair<ColourRole, std::vector<ColourRole>> texts[] = {
        {text, {window, surface, field, button, buttonHovered, border}},
        {secondary, {window, surface, field}},
        {tint, {surface}},
        {error, {window, surface}},
        {onAccent, {accent, accentHovered, accentPressed}},
        {success, {window}},
        {warning, {window}}};
    for (const bool dark : {false, true}) {
        for (const auto& [ink, grounds] : texts) {
            for (const ColourRole ground : grounds) {
                const double one = luminance(colour(ink, dark)), other = luminance(colour(ground, dark));
                EXPECT_GE((std::max(one, other) + 0.05) / (std::min(one, other) + 0.05), 4.5)
                    << colour(ink, dark).name().toStdString() << " on "
                    << colour(ground, dark).name().toStdString();
            }
        }
    }
}

TEST_F(Look, HasAKeyOfItsOwnForEachTitle) {
    model.transfers.isTransferring = false;
    eachScreen([this] {
        std::map<QKeySequence, QString> mnemonics;
        for (QWidget* const widget : shown(isContent)) {
            const auto* const action = qobject_cast<QAbstractButton*>(widget);
            const auto* const label = qobject_cast<QLabel*>(widget);
            const QString title = action                    ? action->text()
                                  : label && label->buddy() ? label->text()
                                                            : QString();
            if (title.isEmpty() || qobject_cast<QRadioButton*>(widget))
                continue;
            const QKeySequence key = QKeySequence::mnemonic(title);
            EXPECT_FALSE(key.isEmpty()) << title.toStdString();
            EXPECT_TRUE(mnemonics.emplace(key, title).second)
                << title.toStdString() << mnemonics[key].toStdString();
            EXPECT_EQ(nameOf(*widget),
                      QString(title).replace(u"&&"_s, u"\n"_s).remove(u'&').replace(u'\n', u'&'));
        }
    });
}

struct Painting : QObject {
    bool eventFilter(QObject*, QEvent* event) override {
        count += event->type() == QEvent::Paint || event->type() == QEvent::LayoutRequest ? 1 : 0;
        return false;
    }
    int count = 0;
};

TEST_F(Look, DrawsOnlyWhatChanged) {
    showMain({700, 1100});
    Painting others, own;
    for (QWidget* const widget : shown(isContent)) {
        const bool isStatus =
            nameOf(*widget) == *model.status && widget->accessibleDescription() == u"Status"_s;
        widget->installEventFilter(isStatus ? &own : &others);
    }
    all<DropZone>().first()->installEventFilter(&others);
    QEvent draw(QEvent::UpdateRequest);
    QCoreApplication::sendEvent(&window, &draw);
    others.count = own.count = 0;
    for (int news = 0; news < 100; ++news) {
        model.status = u"News "_s + QString::number(news);
        settle();
        QEvent redraw(QEvent::UpdateRequest);
        QCoreApplication::sendEvent(&window, &redraw);
    }
    EXPECT_GE(own.count, 100);
    EXPECT_EQ(others.count, 0);
}

} // namespace
} // namespace ternvault::test

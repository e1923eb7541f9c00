#include "ui/Theme.h"

#include "ui/Colours.h"

#include <QApplication>
#include <QEvent>
#include <QFontDatabase>
#include <QFontInfo>
#include <QStyleFactory>

#include <algorithm>
#include <array>
#include <utility>

/// Resources of a static library are reached only when asked for, outside any namespace.
static void initialiseResources() {
    Q_INIT_RESOURCE(assets);
}

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr int bodySize = 13;

/// Sizes at a body of 13.
constexpr std::array<std::pair<const char*, int>, 4> textSizes{
    {{"title", 28}, {"headline", 13}, {"callout", 12}, {"caption", 11}}};

constexpr std::array<std::pair<const char*, ColourRole>, 14> namedColours{{
    {"text", ColourRole::text},
    {"secondary", ColourRole::secondary},
    {"accent-hovered", ColourRole::accentHovered},
    {"accent-pressed", ColourRole::accentPressed},
    {"accent", ColourRole::accent},
    {"on-accent", ColourRole::onAccent},
    {"tint", ColourRole::tint},
    {"error", ColourRole::error},
    {"surface", ColourRole::surface},
    {"field", ColourRole::field},
    {"border", ColourRole::border},
    {"button-hovered", ColourRole::buttonHovered},
    {"button", ColourRole::button},
    {"disabled", ColourRole::disabledText},
}};

/// `@name` stands for a colour, `@size-name` for a text size.
constexpr auto styleSheet = R"(
QLabel[textStyle="title"] { font-family: "@title-family"; font-weight: 700; font-size: @size-titlepx; }
QLabel[textStyle="headline"] { font-weight: 600; font-size: @size-headlinepx; }
QLabel[textStyle="callout"] { font-size: @size-calloutpx; }
QLabel[textStyle="caption"] { font-size: @size-captionpx; }
QLabel[colourRole="secondary"] { color: @secondary; }
QLabel[colourRole="error"] { color: @error; }

QPushButton {
    background: @button; color: @text; border: 1px solid @border; border-radius: 6px; padding: 4px 12px;
    min-height: 18px;
}
QPushButton:hover { background: @button-hovered; }
QPushButton:pressed { background: @border; }
QPushButton:focus { border: 2px solid @tint; padding: 3px 11px; }
QPushButton:disabled { color: @disabled; }
QPushButton[textStyle="caption"] { font-size: @size-captionpx; min-height: 14px; padding: 2px 8px; }
QPushButton[textStyle="caption"]:focus { padding: 1px 7px; }
QPushButton[prominent="true"] { background: @accent; color: @on-accent; border-color: @accent; font-weight: 600; }
QPushButton[prominent="true"]:hover { background: @accent-hovered; }
QPushButton[prominent="true"]:pressed { background: @accent-pressed; }
QPushButton[prominent="true"]:focus { border: 2px solid @text; }
QPushButton[prominent="true"]:disabled { background: @button; color: @disabled; border-color: @border; }
QPushButton[link="true"] {
    background: transparent; color: @tint; border: 2px solid transparent; padding: 1px 0; margin-left: -2px; text-align: left;
}
QPushButton[link="true"]:hover { text-decoration: underline; }
QPushButton[link="true"]:focus { border-color: @tint; }

QLineEdit {
    background: @field; color: @text; border: 1px solid @border; border-radius: 6px; padding: 4px 7px;
    min-height: 18px; selection-background-color: @accent; selection-color: @on-accent;
}
QLineEdit:focus { border: 2px solid @tint; padding: 3px 6px; }

QRadioButton[segment="true"] {
    border: 1px solid transparent; border-radius: 6px; padding: 4px 22px; spacing: 0px; min-height: 18px;
}
QRadioButton[segment="true"]::indicator { width: 0px; height: 0px; image: none; }
QRadioButton[segment="true"]:hover { background: @button-hovered; }
QRadioButton[segment="true"]:checked { background: @accent; color: @on-accent; }
QRadioButton[segment="true"]:focus { border: 1px solid @text; }
QFrame[segments="true"] { background: @surface; border: 1px solid @border; border-radius: 8px; }

QProgressBar { background: @border; border: none; border-radius: 3px; min-height: 6px; max-height: 6px; }
QProgressBar::chunk { background: @accent; border-radius: 3px; }

QListView { background: @field; border: 1px solid @border; border-radius: 8px; padding: 4px; outline: none; }
QListView:focus { border-color: @tint; }
QScrollBar:vertical { background: transparent; width: 10px; margin: 0; }
QScrollBar:horizontal { background: transparent; height: 10px; margin: 0; }
QScrollBar::handle { background: @border; border-radius: 3px; margin: 2px; }
QScrollBar::handle:hover { background: @disabled; }
QScrollBar::handle:vertical { min-height: 28px; }
QScrollBar::handle:horizontal { min-width: 28px; }
QScrollBar::add-line, QScrollBar::sub-line { width: 0; height: 0; }
QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }
QToolTip { background: @surface; color: @text; border: 1px solid @border; padding: 3px; }
)";

QPalette palette(bool dark) {
    const auto is = [dark](ColourRole role) { return colour(role, dark); };
    QPalette result(is(ColourRole::button), is(ColourRole::window));
    const std::array<std::pair<QPalette::ColorRole, ColourRole>, 12> roles{{
        {QPalette::WindowText, ColourRole::text},
        {QPalette::Text, ColourRole::text},
        {QPalette::ButtonText, ColourRole::text},
        {QPalette::PlaceholderText, ColourRole::secondary},
        {QPalette::Base, ColourRole::field},
        {QPalette::AlternateBase, ColourRole::surface},
        {QPalette::ToolTipBase, ColourRole::surface},
        {QPalette::ToolTipText, ColourRole::text},
        {QPalette::Highlight, ColourRole::accent},
        {QPalette::HighlightedText, ColourRole::onAccent},
        {QPalette::Link, ColourRole::tint},
        {QPalette::LinkVisited, ColourRole::tint},
    }};
    for (const auto& [qtRole, role] : roles)
        result.setColor(qtRole, is(role));
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        result.setColor(QPalette::Disabled, role, is(ColourRole::disabledText));
    return result;
}

/// The family's name is what the file says.
QString loadTitleFont() {
    const int font = QFontDatabase::addApplicationFont(u":/ternvault/fonts/nunito-latin-700-normal.woff2"_s);
    return QFontDatabase::applicationFontFamilies(font).value(0);
}

QString filledStyleSheet(const QString& titleFamily, bool dark, int body) {
    QString sheet = QString::fromLatin1(styleSheet);
    sheet.replace(u"@title-family"_s, titleFamily);
    for (const auto& [name, size] : textSizes)
        sheet.replace(u"@size-"_s + QLatin1String(name), QString::number(size * body / bodySize));
    for (const auto& [name, role] : namedColours)
        sheet.replace(u'@' + QLatin1String(name), colour(role, dark).name());
    return sheet;
}

} // namespace

Theme::Theme(QApplication& application, Appearance& appearance)
    : application_(application), appearance_(appearance),
      appearanceChanges_(appearance.changed.subscribe([this] { apply(); })) {
    initialiseResources();
    titleFamily_ = loadTitleFont();
    application.setStyle(QStyleFactory::create(u"Fusion"_s));
    apply();
    application.installEventFilter(this);
}

bool Theme::eventFilter(QObject* object, QEvent* event) {
    if (object == &application_ && event->type() == QEvent::ApplicationFontChange)
        apply();
    return false;
}

void Theme::apply() {
    QFont font = QApplication::font();
    const int body = std::max(QFontInfo(font).pixelSize(), bodySize);
    font.setPixelSize(body);
    if (font != QApplication::font())
        QApplication::setFont(font);
    const bool dark = appearance_.isDark();
    QApplication::setPalette(palette(dark));
    const QString sheet = filledStyleSheet(titleFamily_, dark, body);
    if (sheet != application_.styleSheet())
        application_.setStyleSheet(sheet);
}

} // namespace ternvault

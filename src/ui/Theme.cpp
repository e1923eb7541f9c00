#include "ui/Theme.h"

#include "ui/Colours.h"
#include "ui/Controls.h"
#include "ui/Style.h"
#include "ui/TextStyles.h"

#include <QApplication>
#include <QEvent>
#include <QFontDatabase>
#include <QToolTip>

#include <algorithm>
#include <array>
#include <utility>

namespace ternvault {

namespace {

QPalette palette(bool dark) {
    const auto is = [dark](ColourRole role) { return colour(role, dark); };
    QPalette result(is(ColourRole::button), is(ColourRole::window));
    const std::array<std::pair<QPalette::ColorRole, ColourRole>, 13> roles{{
        {QPalette::WindowText, ColourRole::text},
        {QPalette::Text, ColourRole::text},
        {QPalette::ButtonText, ColourRole::text},
        {secondaryText, ColourRole::secondary},
        {errorText, ColourRole::error},
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

void useColours(const Appearance& appearance) {
    const QPalette colours = palette(appearance.isDark());
    QApplication::setPalette(colours);
    QToolTip::setPalette(colours);
}

void useBody(QFont font) {
    font.setPixelSize(std::max(pixelSizeOf(font), leastBodySize));
    if (font != QApplication::font()) {
        // Which leads here again.
        QApplication::setFont(font);
        return;
    }
    for (QWidget* const widget : QApplication::allWidgets())
        renewTextStyle(*widget);
}

} // namespace

Theme::Theme(QApplication& application, Appearance& appearance)
    : application_(application),
      appearanceChanges_(appearance.changed.subscribe([&appearance] { useColours(appearance); })) {
    QApplication::setStyle(new Style);
    application.installEventFilter(this);
    useBody(QApplication::font());
    useColours(appearance);
}

/// Qt itself does not follow the desktop any more once an application has set a font.
bool Theme::eventFilter(QObject* object, QEvent* event) {
    if (event->type() == QEvent::ThemeChange)
        useBody(QFontDatabase::systemFont(QFontDatabase::GeneralFont));
    else if (event->type() == QEvent::ApplicationFontChange && object == &application_)
        useBody(QApplication::font());
    return false;
}

} // namespace ternvault

#include "ui/ButtonLook.h"

#include "ui/Box.h"
#include "ui/ButtonKind.h"
#include "ui/Colours.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionButton>

#include <algorithm>

namespace ternvault {

namespace {

constexpr qreal radius = 6;
constexpr qreal linkRadius = 4;
constexpr qreal focusWidth = 2;

struct Look {
    ColourRole fill;
    ColourRole border;
    ColourRole focus;
    ColourRole text;
};

bool isHovered(const QStyleOption& option) {
    return option.state.testFlag(QStyle::State_Enabled) && option.state.testFlag(QStyle::State_MouseOver);
}

ColourRole fillOf(const QStyleOption& option, ColourRole normal, ColourRole hovered, ColourRole pressed) {
    if (option.state.testFlag(QStyle::State_Sunken))
        return pressed;
    return isHovered(option) ? hovered : normal;
}

Look lookOf(const QStyleOption& option, ButtonKind kind) {
    const bool isEnabled = option.state.testFlag(QStyle::State_Enabled);
    if (kind == ButtonKind::prominent && isEnabled) {
        const ColourRole fill =
            fillOf(option, ColourRole::accent, ColourRole::accentHovered, ColourRole::accentPressed);
        return {fill, fill, ColourRole::text, ColourRole::onAccent};
    }
    return {fillOf(option, ColourRole::button, ColourRole::buttonHovered, ColourRole::border),
            ColourRole::border, ColourRole::tint, isEnabled ? ColourRole::text : ColourRole::disabledText};
}

/// No box, but a frame that shows the focus.
void paintLink(QPainter& painter, const QStyleOptionButton& option, const QStyle& base) {
    if (option.state.testFlag(QStyle::State_HasFocus)) {
        paintBox(painter, option.rect,
                 {.radius = linkRadius,
                  .border = colour(ColourRole::tint, option.palette),
                  .borderWidth = focusWidth});
    }
    painter.save();
    QFont font = painter.font();
    font.setUnderline(isHovered(option));
    painter.setFont(font);
    base.drawItemText(&painter, option.rect.adjusted(linkPadding, 0, -linkPadding, 0),
                      Qt::AlignLeading | Qt::AlignVCenter | Qt::TextShowMnemonic, option.palette,
                      option.state.testFlag(QStyle::State_Enabled), option.text, QPalette::Link);
    painter.restore();
}

} // namespace

void paintButton(QPainter& painter, const QStyleOptionButton& option, ButtonKind kind, const QStyle& base) {
    if (kind == ButtonKind::link) {
        paintLink(painter, option, base);
        return;
    }
    const Look look = lookOf(option, kind);
    const bool hasFocus = option.state.testFlag(QStyle::State_HasFocus);
    paintBox(painter, option.rect,
             {.radius = radius,
              .fill = colour(look.fill, option.palette),
              .border = colour(hasFocus ? look.focus : look.border, option.palette),
              .borderWidth = hasFocus ? focusWidth : 1});
    QStyleOptionButton label(option);
    label.palette.setColor(QPalette::ButtonText, colour(look.text, option.palette));
    base.drawControl(QStyle::CE_PushButtonLabel, &label, &painter);
}

QSize buttonSize(const QSize& content, ButtonKind kind) {
    switch (kind) {
    case ButtonKind::caption:
        return {content.width() + 18, std::max(content.height(), 14) + 6};
    case ButtonKind::link:
        return content.grownBy(QMargins(linkPadding, linkPadding, linkPadding, linkPadding));
    case ButtonKind::normal:
    case ButtonKind::prominent:
        break;
    }
    return {content.width() + 26, std::max(content.height(), 18) + 10};
}

} // namespace ternvault

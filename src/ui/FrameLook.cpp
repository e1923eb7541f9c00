#include "ui/FrameLook.h"

#include "ui/Box.h"
#include "ui/Colours.h"

#include <QPainter>
#include <QStyleOptionFrame>

#include <algorithm>

namespace ternvault {

namespace {

constexpr qreal fieldRadius = 6;
constexpr qreal fieldFocusWidth = 2;
constexpr qreal listRadius = 8;
/// Of a field, with its border.
constexpr int horizontalPadding = 8;
constexpr int verticalPadding = 5;
constexpr int lowestContent = 18;

} // namespace

void paintField(QPainter& painter, const QStyleOptionFrame& option) {
    const bool hasFocus = option.state.testFlag(QStyle::State_HasFocus);
    paintBox(painter, option.rect,
             {.radius = fieldRadius,
              .fill = colour(ColourRole::field, option.palette),
              .border = colour(hasFocus ? ColourRole::tint : ColourRole::border, option.palette),
              .borderWidth = hasFocus ? fieldFocusWidth : 1});
}

QSize fieldSize(const QSize& content) {
    return {content.width() + 2 * horizontalPadding,
            std::max(content.height(), lowestContent) + 2 * verticalPadding};
}

QRect fieldContents(const QRect& field) {
    return field.adjusted(horizontalPadding, verticalPadding, -horizontalPadding, -verticalPadding);
}

void paintListFrame(QPainter& painter, const QStyleOption& option) {
    const bool hasFocus = option.state.testFlag(QStyle::State_HasFocus);
    paintBox(painter, option.rect,
             {.radius = listRadius,
              .fill = colour(ColourRole::field, option.palette),
              .border = colour(hasFocus ? ColourRole::tint : ColourRole::border, option.palette)});
}

/// Square, because its window is.
void paintToolTip(QPainter& painter, const QStyleOption& option) {
    paintBox(painter, option.rect,
             {.fill = option.palette.toolTipBase(), .border = colour(ColourRole::border, option.palette)});
}

} // namespace ternvault

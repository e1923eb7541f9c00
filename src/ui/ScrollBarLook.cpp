#include "ui/ScrollBarLook.h"

#include "ui/Box.h"
#include "ui/Colours.h"

#include <QPainter>
#include <QStyleOptionSlider>

#include <algorithm>

namespace ternvault {

namespace {

constexpr int shortestHandle = 28;
constexpr int margin = 2;
constexpr qreal radius = 3;

/// Along the bar, from its beginning.
struct Span {
    int begin;
    int length;
};

Span handleSpan(const QStyleOptionSlider& bar, int length) {
    const qint64 range = qint64(bar.maximum) - bar.minimum;
    if (range <= 0)
        return {0, length};
    const auto share = static_cast<int>(length * qint64(bar.pageStep) / (range + bar.pageStep));
    const int handle = std::clamp(share, std::min(shortestHandle, length), length);
    return {QStyle::sliderPositionFromValue(bar.minimum, bar.maximum, bar.sliderPosition, length - handle,
                                            bar.upsideDown),
            handle};
}

Span spanOf(const QStyleOptionSlider& bar, QStyle::SubControl part, int length) {
    const Span handle = handleSpan(bar, length);
    const int end = handle.begin + handle.length;
    switch (part) {
    case QStyle::SC_ScrollBarSlider:
        return handle;
    case QStyle::SC_ScrollBarSubPage:
        return bar.upsideDown ? Span{end, length - end} : Span{0, handle.begin};
    case QStyle::SC_ScrollBarAddPage:
        return bar.upsideDown ? Span{0, handle.begin} : Span{end, length - end};
    case QStyle::SC_ScrollBarGroove:
        return {0, length};
    default:
        return {0, 0};
    }
}

} // namespace

QRect scrollBarPart(const QStyleOptionSlider& bar, QStyle::SubControl part) {
    const QRect& whole = bar.rect;
    if (bar.orientation == Qt::Vertical) {
        const Span span = spanOf(bar, part, whole.height());
        return {whole.left(), whole.top() + span.begin, whole.width(), span.length};
    }
    const Span span = spanOf(bar, part, whole.width());
    return QStyle::visualRect(bar.direction, whole,
                              {whole.left() + span.begin, whole.top(), span.length, whole.height()});
}

void paintScrollBar(QPainter& painter, const QStyleOptionSlider& bar) {
    const bool isHeld =
        bar.activeSubControls.testFlag(QStyle::SC_ScrollBarSlider) &&
        (bar.state.testFlag(QStyle::State_MouseOver) || bar.state.testFlag(QStyle::State_Sunken));
    const QColor ink = colour(isHeld ? ColourRole::disabledText : ColourRole::border, bar.palette);
    const QRect handle = scrollBarPart(bar, QStyle::SC_ScrollBarSlider);
    paintBox(painter, handle.adjusted(margin, margin, -margin, -margin),
             {.radius = radius, .fill = ink, .border = ink});
}

} // namespace ternvault

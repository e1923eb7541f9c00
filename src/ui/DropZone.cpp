#include "ui/DropZone.h"

#include "ui/AccessibleRole.h"
#include "ui/Box.h"
#include "ui/Colours.h"
#include "ui/Controls.h"

#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QVBoxLayout>

#include <utility>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr int lowest = 140;
constexpr int spacing = 8;
constexpr int padding = 20;
/// Of the outline as the layout gives it.
constexpr int radius = 12;
constexpr int lineWidth = 2;
constexpr int dashLength = 8;
constexpr int miterLimit = 10;
/// Of the frame that shows the focus, inside the dashes.
constexpr int focusInset = 4;
constexpr float outlineOpacity = 0.5F;
constexpr float fillOpacity = 0.06F;
constexpr float targetedFillOpacity = 0.12F;

const auto headline = u"Drop files here  ·  or click then ⌘V"_s;
const auto explanation =
    u"⌘V in a TernVault Finder window is redirected into this app (allow Accessibility once). "
    u"Dragging in Finder can still fail — use Add Files here."_s;

QLabel* makeCentredText(const QString& text, const TextLook& look) {
    QLabel* const label = makeText(text, look);
    label->setAlignment(Qt::AlignCenter);
    // Clicks are for the zone.
    label->setAttribute(Qt::WA_TransparentForMouseEvents);
    return label;
}

} // namespace

DropZone::DropZone(std::function<void()> clicked) : clicked_(std::move(clicked)), buttons_(new QHBoxLayout) {
    setMinimumHeight(lowest);
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleRole(*this, QAccessible::Grouping);
    setAccessibleName(headline);

    auto* const stack = new QVBoxLayout(this);
    stack->setContentsMargins(padding, padding, padding, padding);
    stack->setSpacing(spacing);
    stack->addStretch();
    stack->addWidget(makeCentredText(headline, headlineLook));
    stack->addWidget(makeCentredText(explanation, captionLook));
    auto* const row = new QHBoxLayout;
    buttons_->setSpacing(spacing);
    row->addStretch();
    row->addLayout(buttons_);
    row->addStretch();
    stack->addLayout(row);
    stack->addStretch();
}

void DropZone::showTargeted(bool isTargeted) {
    if (std::exchange(isTargeted_, isTargeted) != isTargeted)
        update();
}

void DropZone::paintEvent(QPaintEvent*) {
    const QColor ink = colour(isTargeted_ ? ColourRole::accent : ColourRole::secondary, palette());
    QPen dashes(isTargeted_ ? ink : withOpacity(ink, outlineOpacity), lineWidth, Qt::CustomDashLine,
                Qt::FlatCap, Qt::MiterJoin);
    dashes.setDashPattern({qreal(dashLength) / lineWidth, qreal(dashLength) / lineWidth});
    dashes.setMiterLimit(miterLimit);

    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(withOpacity(ink, isTargeted_ ? targetedFillOpacity : fillOpacity));
    painter.drawRoundedRect(rect(), radius, radius);
    // Inside the outline, around the same corners' centres.
    const qreal inset = lineWidth / 2.0;
    painter.setBrush(Qt::NoBrush);
    painter.setPen(dashes);
    painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), radius - inset,
                            radius - inset);
    if (showsFocus_) {
        paintBox(painter, rect().adjusted(focusInset, focusInset, -focusInset, -focusInset),
                 {.radius = radius - focusInset, .border = colour(ColourRole::tint, palette())});
    }
}

void DropZone::mousePressEvent(QMouseEvent* event) {
    event->setAccepted(event->button() == Qt::LeftButton);
}

void DropZone::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
        clicked_();
}

void DropZone::focusInEvent(QFocusEvent* event) {
    QWidget::focusInEvent(event);
    showsFocus_ = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    update();
}

void DropZone::focusOutEvent(QFocusEvent* event) {
    QWidget::focusOutEvent(event);
    showsFocus_ = false;
    update();
}

} // namespace ternvault

#include "ui/SegmentedPicker.h"

#include "ui/AccessibleRole.h"
#include "ui/Box.h"
#include "ui/Colours.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QPainter>
#include <QRadioButton>

#include <algorithm>
#include <utility>

namespace ternvault {

namespace {

constexpr int margin = 3;
constexpr int gap = 2;
constexpr qreal radius = 8;
constexpr qreal segmentRadius = 6;
constexpr int horizontalPadding = 23;
constexpr int verticalPadding = 5;
constexpr int lowestText = 18;

class Segment final : public QRadioButton {
public:
    using QRadioButton::QRadioButton;

    QSize sizeHint() const override {
        const QSize content = fontMetrics().size(Qt::TextShowMnemonic, text());
        return {content.width() + 2 * horizontalPadding,
                std::max(content.height(), lowestText) + 2 * verticalPadding};
    }
    QSize minimumSizeHint() const override { return sizeHint(); }

private:
    bool hitButton(const QPoint& position) const override { return rect().contains(position); }

    QBrush fill() const {
        if (isChecked())
            return colour(ColourRole::accent, palette());
        return underMouse() ? colour(ColourRole::buttonHovered, palette()) : QBrush(Qt::NoBrush);
    }

    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        const QColor border = hasFocus() ? colour(ColourRole::text, palette()) : QColor(Qt::transparent);
        paintBox(painter, rect(), {.radius = segmentRadius, .fill = fill(), .border = border});
        painter.setPen(colour(isChecked() ? ColourRole::onAccent : ColourRole::text, palette()));
        painter.drawText(rect(), Qt::AlignCenter | Qt::TextShowMnemonic, text());
    }
};

} // namespace

SegmentedPicker::SegmentedPicker(const QString& name, const QStringList& segments,
                                 std::function<void(int)> picked)
    : group_(new QButtonGroup(this)) {
    setAccessibleRole(*this, QAccessible::Grouping);
    setAccessibleName(name);
    setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    auto* const row = new QHBoxLayout(this);
    row->setSpacing(gap);
    row->setContentsMargins(margin, margin, margin, margin);
    for (const QString& title : segments) {
        auto* const segment = new Segment(title);
        group_->addButton(segment, static_cast<int>(group_->buttons().size()));
        row->addWidget(segment);
    }
    connect(group_, &QButtonGroup::idToggled, this, [picked = std::move(picked)](int index, bool on) {
        if (on)
            picked(index);
    });
}

void SegmentedPicker::display(int index) {
    group_->button(index)->setChecked(true);
}

void SegmentedPicker::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintBox(painter, rect(),
             {.radius = radius,
              .fill = colour(ColourRole::surface, palette()),
              .border = colour(ColourRole::border, palette())});
}

} // namespace ternvault

#include "ui/SegmentedPicker.h"

#include "ui/AccessibleRole.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QRadioButton>

#include <utility>

namespace ternvault {

SegmentedPicker::SegmentedPicker(const QString& name, const QStringList& segments,
                                 std::function<void(int)> picked)
    : group_(new QButtonGroup(this)) {
    setProperty("segments", true);
    setAccessibleRole(*this, QAccessible::Grouping);
    setAccessibleName(name);
    setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    auto* const row = new QHBoxLayout(this);
    row->setSpacing(2);
    row->setContentsMargins(2, 2, 2, 2);
    for (const QString& title : segments) {
        auto* const segment = new QRadioButton(title);
        segment->setProperty("segment", true);
        group_->addButton(segment, static_cast<int>(group_->buttons().size()));
        row->addWidget(segment);
    }
    connect(group_, &QButtonGroup::idToggled, this, [picked = std::move(picked)](int index, bool on) {
        if (on)
            picked(index);
    });
}

void SegmentedPicker::show(int index) {
    group_->button(index)->setChecked(true);
}

} // namespace ternvault

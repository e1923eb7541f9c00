#include "ui/LabelledRow.h"

#include <QGridLayout>
#include <QLabel>

namespace ternvault {

namespace {

constexpr int labelGap = 12;

bool hasOwnWidth(const QWidget& control) {
    return control.minimumWidth() == control.maximumWidth() ||
           control.sizePolicy().horizontalPolicy() == QSizePolicy::Maximum;
}

} // namespace

void addLabelledRows(QVBoxLayout& column, const std::vector<LabelledRow>& rows) {
    auto* const grid = new QGridLayout;
    grid->setHorizontalSpacing(labelGap);
    grid->setVerticalSpacing(column.spacing());
    grid->setColumnStretch(1, 1);
    for (const LabelledRow& row : rows) {
        auto* const label = new QLabel(row.label);
        if (row.control->focusPolicy() != Qt::NoFocus)
            label->setBuddy(row.control);
        const int line = grid->rowCount();
        grid->addWidget(label, line, 0);
        grid->addWidget(row.control, line, 1, hasOwnWidth(*row.control) ? Qt::AlignLeading : Qt::Alignment());
    }
    column.addLayout(grid);
}

} // namespace ternvault

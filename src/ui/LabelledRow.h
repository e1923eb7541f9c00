#pragma once

#include <QString>

#include <vector>

class QVBoxLayout;
class QWidget;

namespace ternvault {

struct LabelledRow {
    /// An ampersand marks the mnemonic, which leads to a control that takes the focus itself.
    QString label;
    QWidget* control;
};

/// Adds rows with the labels on the leading side, the controls in one column after them.
void addLabelledRows(QVBoxLayout& column, const std::vector<LabelledRow>& rows);

} // namespace ternvault

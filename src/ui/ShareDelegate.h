#pragma once

#include <QStyledItemDelegate>

namespace ternvault {

/// Draws a share: symbol, name above its sizes, and a check mark on the selected one.
class ShareDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

} // namespace ternvault

#include "ui/SharesList.h"

#include "ui/ShareDelegate.h"
#include "ui/SharesModel.h"

#include <QMouseEvent>
#include <QScopedValueRollback>

#include <algorithm>
#include <utility>

namespace ternvault {

namespace {

constexpr int lowest = 100;
/// More rows than this scroll when the window is low.
constexpr int preferredRows = 3;

} // namespace

SharesList::SharesList(std::function<void(const QString&)> choose)
    : shares_(new SharesModel(this)), choose_(std::move(choose)) {
    setModel(shares_);
    setItemDelegate(new ShareDelegate(this));
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setTabKeyNavigation(false);
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this, &SharesList::reportSelection);
}

void SharesList::display(const std::vector<ServerShare>& shares, const QString& selectedShare) {
    const QScopedValueRollback<bool> rendering(isRendering_, true);
    const int rows = shares_->rowCount({});
    shares_->display(shares, selectedShare);
    if (shares_->rowCount({}) != rows)
        updateGeometry();
    const QModelIndex selected = shares_->find(selectedShare);
    if (selected.isValid() && !selectionModel()->isSelected(selected))
        selectionModel()->setCurrentIndex(selected, QItemSelectionModel::ClearAndSelect);
    else if (!selected.isValid() && selectionModel()->hasSelection())
        selectionModel()->clear();
}

void SharesList::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        QListView::mousePressEvent(event);
}

void SharesList::mouseMoveEvent(QMouseEvent* event) {
    if (event->buttons() == Qt::NoButton)
        QListView::mouseMoveEvent(event);
}

void SharesList::reportSelection() {
    if (isRendering_)
        return;
    const QModelIndexList selected = selectionModel()->selectedIndexes();
    choose_(selected.isEmpty() ? QString() : selected.first().data().toString());
}

QSize SharesList::sizeHint() const {
    const int rows = std::min(shares_->rowCount({}), preferredRows);
    return {QListView::sizeHint().width(), std::max(lowest, rows * sizeHintForRow(0) + 2 * frameWidth() + 8)};
}

QSize SharesList::minimumSizeHint() const {
    return {0, lowest};
}

} // namespace ternvault

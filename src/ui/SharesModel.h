#pragma once

#include "agent/AgentRecords.h"

#include <QAbstractListModel>

#include <vector>

namespace ternvault {

/// Rows of the list of shares, in the agent's order.
class SharesModel final : public QAbstractListModel {
public:
    enum Role { Name = Qt::DisplayRole, Sizes = Qt::UserRole, IsSelected };

    using QAbstractListModel::QAbstractListModel;

    /// Leaves the rows alone where nothing differs, so that the list keeps its place.
    void display(const std::vector<ServerShare>& shares, const QString& selectedShare);
    /// The first row of that name, or an invalid index.
    QModelIndex find(const QString& name) const;

    int rowCount(const QModelIndex& parent) const override;
    QVariant data(const QModelIndex& index, int role) const override;

private:
    std::vector<ServerShare> shares_;
    QString selectedShare_;
};

} // namespace ternvault

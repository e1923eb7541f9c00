#pragma once

#include "agent/AgentRecords.h"

#include <QListView>

#include <functional>
#include <vector>

namespace ternvault {

class SharesModel;

/// The PC's shares, one of them chosen.
class SharesList final : public QListView {
public:
    /// `choose` is told the name of the share that the user chose; empty when the choice was cleared.
    explicit SharesList(std::function<void(const QString& name)> choose);

    void display(const std::vector<ServerShare>& shares, const QString& selectedShare);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

private:
    /// A click chooses; other buttons and drags over the rows do not.
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void reportSelection();

    SharesModel* shares_;
    std::function<void(const QString&)> choose_;
    bool isRendering_ = false;
};

} // namespace ternvault

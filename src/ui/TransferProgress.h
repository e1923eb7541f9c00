#pragma once

#include <QProgressBar>

namespace ternvault {

class TransferManager;

/// How many of the counted items are copied.
class TransferProgress final : public QProgressBar {
public:
    TransferProgress();
    void display(const TransferManager& transfers);
};

} // namespace ternvault

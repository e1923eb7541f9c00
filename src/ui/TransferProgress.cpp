#include "ui/TransferProgress.h"

#include "transfer/TransferManager.h"
#include "ui/ProgressLook.h"

#include <algorithm>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

/// The bar's whole length; fine enough for any window.
constexpr int steps = 10000;

double progressOf(const TransferManager& transfers) {
    if (transfers.totalCount < 1)
        return 0;
    // A copy that a cancel left in flight may end after the counters were cleared.
    const std::int64_t completed = std::min<std::int64_t>(transfers.completedCount, transfers.totalCount);
    return static_cast<double>(completed) / static_cast<double>(transfers.totalCount);
}

} // namespace

TransferProgress::TransferProgress() {
    setAccessibleName(u"Transfer progress"_s);
    setRange(0, steps);
    setTextVisible(false);
    setFixedHeight(progressHeight);
}

void TransferProgress::display(const TransferManager& transfers) {
    setValue(static_cast<int>(progressOf(transfers) * steps));
}

} // namespace ternvault

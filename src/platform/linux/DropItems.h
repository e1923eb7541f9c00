#pragma once

#include "platform/ItemProvider.h"

#include <QMimeData>

#include <memory>
#include <vector>

namespace ternvault {

/// Whether a drag holds files, for the drop target to accept it.
bool holdsFiles(const QMimeData& drag);

/// One provider for each file of a drop. They own what they deliver, so that `drop` may go, and load at once,
/// on the calling thread.
std::vector<std::unique_ptr<ItemProvider>> dropItems(const QMimeData& drop);

} // namespace ternvault

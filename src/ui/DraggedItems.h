#pragma once

#include "platform/ItemProvider.h"

#include <memory>
#include <vector>

class QMimeData;

namespace ternvault {

/// The files that a drag carries, one provider for each. They own what they deliver, so that the drag may go.
std::vector<std::unique_ptr<ItemProvider>> itemProviders(const QMimeData& dragged);
bool holdsFileURLs(const QMimeData& dragged);

} // namespace ternvault

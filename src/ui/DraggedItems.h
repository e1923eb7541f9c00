#pragma once

#include "platform/ItemProvider.h"

#include <memory>
#include <vector>

class QMimeData;

namespace ternvault {

bool holdsFileURLs(const QMimeData& dragged);
/// The items of a drag, one for each URL.
std::vector<std::unique_ptr<ItemProvider>> itemProviders(const QMimeData& dragged);

} // namespace ternvault

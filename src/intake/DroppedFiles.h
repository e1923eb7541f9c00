#pragma once

#include "platform/ItemProvider.h"
#include "platform/MainLoop.h"

#include <QUrl>

#include <functional>
#include <memory>
#include <vector>

namespace ternvault {

/// Loads the dropped items and returns true at once. When all have come, `handOver` runs on the main thread,
/// on a later turn, with the URLs in the order in which they came; items that are none are left out. Whether
/// the files exist is not looked at. Main thread only.
bool handleDrop(const std::vector<std::unique_ptr<ItemProvider>>& providers, MainLoop& mainLoop,
                std::function<void(std::vector<QUrl>)> handOver);

} // namespace ternvault

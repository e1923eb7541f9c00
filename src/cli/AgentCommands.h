#pragma once

#include "base/Task.h"
#include "model/AppModel.h"

namespace ternvault::cli {

/// `disks`: asks the PC's agent and prints its disks and shares, as tables or as JSON on one line. Returns
/// the exit status.
Task<int> listDisks(AppModel& model, bool asJson);

} // namespace ternvault::cli

#pragma once

#include "base/Task.h"
#include "model/AppModel.h"

namespace ternvault::cli {

/// Each prints what happened and returns the exit status.
Task<int> mountVolume(AppModel& model);
Task<int> ejectVolume(AppModel& model);
int printStatus(const AppModel& model);
int printTransferLog(const AppModel& model);

} // namespace ternvault::cli

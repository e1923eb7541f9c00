#pragma once

#include "base/Task.h"
#include "model/AppModel.h"

namespace ternvault::cli {

/// `setup`: one pass of the account setup with the saved settings; a password that is not saved is read.
/// Returns the exit status, like the others.
Task<int> setUp(AppModel& model, AuthMode mode);
/// `reset`: back to before the setup.
int resetSetup(AppModel& model);
/// `accept-legal`: tells where the documents are, and records that both are accepted.
int acceptLegal(AppModel& model);

} // namespace ternvault::cli

#pragma once

#include "base/Task.h"
#include "model/AppModel.h"
#include "platform/SecretStore.h"

namespace ternvault::cli {

/// `setup`: one pass of the account setup with the saved settings. A password that is not saved is read, and
/// kept only when the pass succeeds. Returns the exit status, like the others.
Task<int> setUp(AppModel& model, SecretStore& secrets, AuthMode mode);
/// `reset`: back to before the setup.
int resetSetup(AppModel& model);
/// `accept-legal`: tells where the documents are, and records that both are accepted.
int acceptLegal(AppModel& model);

} // namespace ternvault::cli

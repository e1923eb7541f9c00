#pragma once

#include "platform/UserDefaults.h"

namespace ternvault {

/// Copies the settings of the product's earlier versions to the current keys where those are absent or blank.
/// Old keys stay in place; running it again is harmless.
void migratePrefsIfNeeded(UserDefaults& defaults);

} // namespace ternvault

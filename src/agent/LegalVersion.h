#pragma once

#include "platform/UserDefaults.h"

namespace ternvault {

/// Whether the stored acceptance is for exactly the legal documents that this build ships.
bool isCurrentLegalVersionAccepted(const UserDefaults& defaults);

} // namespace ternvault

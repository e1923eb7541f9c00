#pragma once

#include "platform/EventTap.h"

namespace ternvault {

/// Measures what the tap adds to Ctrl+V on the way to another program's window, with this callback, which
/// swallows nothing, and with one that hangs. Prints a table; false when a limit in it is not kept. On a
/// display with nobody else at the keys.
bool measureTap(const EventTap::Callback& callback);

} // namespace ternvault

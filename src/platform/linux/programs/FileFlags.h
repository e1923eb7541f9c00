#pragma once

#include "platform/ProcessLauncher.h"

namespace ternvault {

/// Stands in for the program that sets file flags: `hidden PATH` and `nohidden PATH`, through the list of
/// hidden names of the path's folder. Status 0, or another one and the reason on standard error.
ProcessResult runFileFlags(const QStringList& arguments);

} // namespace ternvault

#pragma once

#include "platform/ProcessLauncher.h"

namespace ternvault {

/// Stands in for "/usr/bin/ditto" with a source and a destination path. Status 1 and one line for each error
/// on standard error when something was not copied.
ProcessResult runCopyTool(const QStringList& arguments);

} // namespace ternvault

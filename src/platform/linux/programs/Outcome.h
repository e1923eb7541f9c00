#pragma once

#include "platform/ProcessLauncher.h"

#include <sysexits.h>

namespace ternvault {

/// How a stand-in ends that could not do what it was asked for: with the reason on standard error.
inline ProcessResult failed(const QString& reason, int exitStatus = 1) {
    return {{}, exitStatus, {}, (reason + u'\n').toUtf8()};
}

/// How it ends when it does not know what it was asked for.
inline ProcessResult misused(const QString& usage) {
    return failed(usage, EX_USAGE);
}

} // namespace ternvault

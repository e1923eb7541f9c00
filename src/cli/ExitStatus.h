#pragma once

namespace ternvault::cli {

/// What the program's exit status tells, as its manual page has it.
enum ExitStatus {
    success = 0,
    /// The operation was tried and did not, or not wholly, succeed.
    failure = 1,
    /// The command line was wrong; nothing was done.
    usageError = 2,
    /// `status` only: no volume is mounted.
    notMounted = 3,
};

} // namespace ternvault::cli

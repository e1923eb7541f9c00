#pragma once

#include <ctime>

namespace ternvault {

/// The modification time of a file that misses bytes: a day that no file of a user has, so that whoever
/// compares only sizes and times does not take the file for complete.
inline constexpr timespec unfinishedTime{34'567'890, 0};

} // namespace ternvault

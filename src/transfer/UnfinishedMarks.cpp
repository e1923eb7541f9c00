#include "transfer/UnfinishedMarks.h"

#include "base/UnfinishedTime.h"
#include "transfer/Counterparts.h"
#include "transfer/TransferError.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace ternvault {

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

/// Nanoseconds to which destinations cut times: our volumes, other programs, exFAT, old file systems.
constexpr std::array granules{1'000L, 1'000'000L, 10'000'000L, 1'000'000'000L};

/// Whether `kept` is what a destination keeps of `time`.
bool isKeptTime(const timespec& kept, const timespec& time) {
    return kept.tv_sec == time.tv_sec && std::ranges::any_of(granules, [&](long granule) {
               return kept.tv_nsec / 1'000 * 1'000 == time.tv_nsec / granule * granule;
           });
}

std::optional<FileState> fileState(const EntryAt& entry) {
    struct stat status {};
    if (::fstatat(entry.folder, entry.name, &status, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    return FileState::of(status);
}

bool isForbidden(int error) {
    return error == EACCES || error == EPERM || error == EROFS;
}

/// False when it may not be marked.
bool markIfUnfinished(const Counterparts& file) {
    if (!S_ISREG(file.type))
        return true;
    const std::optional<FileState> destination = fileState(file.destination);
    if (!destination || isSameTime(destination->modified, unfinishedTime))
        return true;
    const std::optional<FileState> source = fileState(file.source);
    if (!source || source->size != destination->size || isKeptTime(destination->modified, source->modified))
        return true;
    // What cannot be read overwrites nothing.
    if (::faccessat(file.source.folder, file.source.name, R_OK, 0) != 0)
        return true;
    const std::array<timespec, 2> times{timespec{0, UTIME_OMIT}, unfinishedTime};
    const auto [folder, name] = file.destination;
    if (::utimensat(folder, name, times.data(), AT_SYMLINK_NOFOLLOW) == 0)
        return true;
    if (!isForbidden(errno))
        throw std::system_error(errno, std::generic_category(), fs::path(name).filename().native());
    return false;
}

} // namespace

bool markUnfinishedFiles(const fs::path& from, const fs::path& to, bool isDirectory) {
    bool areMarked = true;
    visitCounterparts(from, to, isDirectory,
                      [&](const Counterparts& file) { areMarked = markIfUnfinished(file) && areMarked; });
    return areMarked;
}

SingleFileCheck::SingleFileCheck(const fs::path& from) : from_(from) {
    if (!isExcludedName(from.filename().native()))
        before_ = fileState({AT_FDCWD, from.c_str()});
}

void SingleFileCheck::requireCopied(const fs::path& to) const {
    const std::optional<FileState> now = fileState({AT_FDCWD, from_.c_str()});
    const std::optional<FileState> copy = fileState({AT_FDCWD, to.c_str()});
    if (!before_ || !now || !copy)
        return;
    if (isSameTime(copy->modified, unfinishedTime) || (*now == *before_ && copy->size != now->size))
        throw TransferError(TransferError::notCopied, u"The copy is not complete"_s);
}

} // namespace ternvault

#pragma once

#include <sys/stat.h>

namespace ternvault {

inline bool isSameTime(const timespec& one, const timespec& other) {
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

/// What writing to a file changes.
struct FileState {
    off_t size = 0;
    timespec modified{};

    static FileState of(const struct stat& status) { return {status.st_size, status.st_mtim}; }
    bool operator==(const FileState& other) const {
        return size == other.size && isSameTime(modified, other.modified);
    }
};

} // namespace ternvault

#pragma once

#include "base/FileDescriptor.h"

#include <filesystem>
#include <set>
#include <string>

#include <sys/types.h>

namespace ternvault::volume {

/// The files of a share whose old bytes are being overwritten. Until the last new byte is on the server,
/// nothing there tells such a file from a complete one of its size, and when the daemon dies the server gives
/// it the present time. So its path is on this machine's disk before the first byte goes out, and the next
/// daemon finds it there, whatever ended this one. Not thread-safe.
class OverwriteJournal {
public:
    /// Reads what an earlier daemon left in `file`, which is made if missing and stays; one daemon at a time
    /// has it. Throws std::system_error.
    explicit OverwriteJournal(const std::filesystem::path& file);

    /// Paths inside the share.
    const std::set<std::string>& paths() const { return paths_; }

    /// Returns when the entry would survive a loss of power. Throws std::system_error when it cannot be
    /// stored.
    void add(const std::string& path);
    /// Before a rename: what is listed at or below `from` is listed at or below `to` as well.
    void addRenamed(const std::string& from, const std::string& to);
    /// The path and all below it. Best effort: an entry too many costs a copy of its file, no bytes.
    void remove(const std::string& path);

private:
    void append(char sign, const std::string& path);
    void read();
    void cutTornRecord();

    FileDescriptor descriptor_;
    /// Of the whole records.
    off_t size_ = 0;
    std::set<std::string> paths_;
};

} // namespace ternvault::volume

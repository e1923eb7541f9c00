#pragma once

#include "base/FileDescriptor.h"

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

namespace ternvault {

/// The names that file managers leave out when they list a folder: its file ".hidden", one name a line. Lines
/// that others wrote stay; a file without lines goes. For its life the object keeps other processes of ours
/// from changing the list. Free of Qt. Failures are std::system_error.
class HiddenList {
public:
    /// std::errc::timed_out when somebody else holds the list for longer than `patience`.
    HiddenList(const std::filesystem::path& folder, std::chrono::milliseconds patience);
    HiddenList(const HiddenList&) = delete;
    HiddenList& operator=(const HiddenList&) = delete;
    ~HiddenList();

    /// `name`: not empty, without a line break.
    void add(const std::string& name);
    /// Whether it was in the list.
    bool remove(const std::string& name);

private:
    std::vector<std::string> read() const;
    void write(const std::vector<std::string>& names) const;

    std::filesystem::path file_;
    /// The folder itself carries the lock, so that no other file appears in it.
    FileDescriptor folder_;
};

} // namespace ternvault

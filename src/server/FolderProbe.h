#pragma once

#include <chrono>
#include <cstdint>
#include <future>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ternvault::server {

struct FolderState {
    /// Without symbolic links.
    std::string path;
    std::int64_t freeBytes = 0;
    std::int64_t totalBytes = 0;
};

/// Looks at folders that may lie on a dead disk, where the kernel lets a question hang for good. Each
/// question runs in a thread of its own, and while one hangs no second one is asked about the same folder.
/// For one thread at a time.
class FolderProbe {
public:
    /// One answer per path: nothing when there is no such folder, or when it did not answer within `limit`.
    std::vector<std::optional<FolderState>> look(const std::vector<std::string>& paths,
                                                 std::chrono::milliseconds limit);

private:
    using Answer = std::future<std::optional<FolderState>>;
    std::map<std::string, Answer> questions_;
};

} // namespace ternvault::server

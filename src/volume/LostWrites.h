#pragma once

#include "base/UnfinishedTime.h"
#include "volume/PathTable.h"

#include <string>
#include <vector>

namespace ternvault::volume {

/// Files that miss bytes which a program believes written. Whoever compares only sizes and times must not
/// take such a file for complete: its modification time is set to `oldTime` as soon as the server takes it,
/// before the file may be written again, and nobody may set another time until then. Not thread-safe.
class LostWrites {
public:
    static constexpr timespec oldTime = unfinishedTime;

    void add(const std::string& path) { isAged_.set(path, false); }
    void markAged(const std::string& path) {
        if (auto* aged = isAged_.find(path))
            *aged = true;
    }
    bool contains(const std::string& path) { return isAged_.find(path) != nullptr; }
    bool mustBeAged(const std::string& path) {
        const auto* aged = isAged_.find(path);
        return aged && !*aged;
    }
    std::vector<std::string> pathsToAge() {
        std::vector<std::string> paths;
        for (const auto& [path, aged] : isAged_) {
            if (!aged)
                paths.push_back(path);
        }
        return paths;
    }

    /// The file is opened for writing anew, or does not exist any more.
    void remove(const std::string& path) { isAged_.eraseSubtree(path); }
    void move(const std::string& from, const std::string& to) { isAged_.moveSubtree(from, to); }

private:
    PathTable<bool> isAged_;
};

} // namespace ternvault::volume

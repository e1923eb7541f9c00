#pragma once

#include "base/UnfinishedTime.h"
#include "volume/PathTable.h"

#include <string>
#include <vector>

namespace ternvault::volume {

/// Files that miss bytes which a program believes written. Whoever compares only sizes and times must not
/// take such a file for complete: its modification time is set to `unfinishedTime` as soon as the server
/// takes it, before the file may be written again, and nobody may set another time until then. Not
/// thread-safe.
class LostWrites {
public:
    /// `error`: why the bytes were lost, as errno. The first reason is kept.
    void add(const std::string& path, int error) {
        if (auto* loss = losses_.find(path))
            loss->isAged = false;
        else
            losses_.set(path, {error, false});
    }
    void markAged(const std::string& path) {
        if (auto* loss = losses_.find(path))
            loss->isAged = true;
    }
    /// Why bytes of the file were lost; 0 when none were.
    int error(const std::string& path) {
        const auto* loss = losses_.find(path);
        return loss ? loss->error : 0;
    }
    bool mustBeAged(const std::string& path) {
        const auto* loss = losses_.find(path);
        return loss && !loss->isAged;
    }
    std::vector<std::string> pathsToAge() {
        std::vector<std::string> paths;
        for (const auto& [path, loss] : losses_) {
            if (!loss.isAged)
                paths.push_back(path);
        }
        return paths;
    }

    /// The file is opened for writing anew, or does not exist any more.
    void remove(const std::string& path) { losses_.eraseSubtree(path); }
    void move(const std::string& from, const std::string& to) { losses_.moveSubtree(from, to); }

private:
    struct Loss {
        int error;
        bool isAged;
    };
    PathTable<Loss> losses_;
};

/// Whether the file was marked as one that is about to be overwritten, or was left unfinished. It keeps that
/// time while it is written, until another one is set.
inline bool isMarkedUnfinished(const timespec& modified) {
    return modified.tv_sec == unfinishedTime.tv_sec;
}

} // namespace ternvault::volume

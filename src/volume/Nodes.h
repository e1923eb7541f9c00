#pragma once

#include "volume/Entry.h"
#include "volume/PathTable.h"
#include "volume/Request.h"
#include "volume/SmbShare.h"
#include "volume/WriteBehind.h"

#include <algorithm>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace ternvault::volume {

struct Handle;

/// A file or directory that the kernel knows by number.
struct Node {
    std::uint64_t number = 0;
    std::string path;
    /// How often the kernel was told of it.
    std::uint64_t lookups = 0;
    /// Removed, or replaced by a rename.
    bool gone = false;
    /// Files open for writing; see isBeingWritten().
    std::vector<std::weak_ptr<Handle>> writers;
    /// How many writes were accepted, through whichever handle.
    std::uint64_t writes = 0;
    /// What the volume says of the file while it is being written.
    Entry entry;
    /// While it is being written: what was written from here on has not been there before.
    std::uint64_t sizeOnServer = 0;
    /// Set through an open file, to be set again after it was closed: the server's close sets the present
    /// time.
    bool hasExplicitTimes = false;

    std::vector<std::shared_ptr<Handle>> liveWriters() const {
        std::vector<std::shared_ptr<Handle>> live;
        for (const auto& writer : writers) {
            if (auto handle = writer.lock())
                live.push_back(std::move(handle));
        }
        return live;
    }
};

using NodePtr = std::shared_ptr<Node>;

/// The nodes by number and by path. Not thread-safe.
class Nodes {
public:
    static constexpr std::uint64_t rootNumber = 1;

    Nodes() {
        auto root = std::make_shared<Node>();
        root->number = rootNumber;
        root->lookups = 1;
        byNumber_[rootNumber] = root;
        byPath_.set("", root);
    }

    /// Null for a number that the kernel was not told.
    NodePtr find(std::uint64_t number) const {
        const auto it = byNumber_.find(number);
        return it == byNumber_.end() ? nullptr : it->second;
    }
    NodePtr find(const std::string& path) {
        const auto* node = byPath_.find(path);
        return node ? *node : nullptr;
    }

    /// The node of the path, made when there is none, with one more lookup.
    NodePtr lookUp(const std::string& path) {
        auto node = find(path);
        if (!node) {
            node = std::make_shared<Node>();
            node->number = ++lastNumber_;
            node->path = path;
            byNumber_[node->number] = node;
            byPath_.set(path, node);
        }
        ++node->lookups;
        return node;
    }

    void forget(std::uint64_t number, std::uint64_t lookups) {
        const auto node = find(number);
        if (!node || number == rootNumber)
            return;
        node->lookups -= std::min(node->lookups, lookups);
        if (node->lookups > 0)
            return;
        byNumber_.erase(number);
        if (!node->gone)
            byPath_.erase(node->path);
    }

    void markGone(const std::string& path) {
        for (auto& [gonePath, node] : byPath_.takeSubtree(path))
            node->gone = true;
    }

    void move(const std::string& from, const std::string& to) {
        markGone(to);
        for (auto& [path, node] : byPath_.takeSubtree(from)) {
            node->path = to + path.substr(from.size());
            byPath_.set(node->path, node);
        }
    }

    template <typename Action>
    void forEach(Action action) {
        for (const auto& [number, node] : byNumber_)
            action(*node);
    }

private:
    std::uint64_t lastNumber_ = rootNumber;
    std::unordered_map<std::uint64_t, NodePtr> byNumber_;
    PathTable<NodePtr> byPath_;
};

/// Bytes that found no room in the write-behind; the writer waits for the answer.
struct StalledWrite {
    RequestPtr request;
    std::uint64_t offset = 0;
    std::vector<char> bytes;
};

/// An open file.
struct Handle {
    NodePtr node;
    /// Null after it was closed because of a lost write.
    SmbShare::File file = nullptr;
    unsigned generation = 0;
    bool writable = false;
    /// Bytes were accepted since the last time that all of them were reported as written.
    bool unconfirmed = false;
    bool drainQueued = false;
    /// Not 0: a write to this file was lost, so nothing more is written through this handle.
    int lostError = 0;
    WriteBehind pending;
    std::deque<StalledWrite> stalled;
};

using HandlePtr = std::shared_ptr<Handle>;

/// Whether the volume itself knows best what the file holds.
inline bool isBeingWritten(const Node& node) {
    const auto writers = node.liveWriters();
    return std::any_of(writers.begin(), writers.end(), [](const auto& writer) { return !writer->lostError; });
}

} // namespace ternvault::volume

#pragma once

#include <cstdint>
#include <deque>
#include <vector>

namespace ternvault::volume {

/// Bytes that were accepted for a file and are not on the server yet, in the order of writing. Bounded: who
/// writes asks `hasRoomFor` first. Bytes taken for sending count until they are confirmed. Not thread-safe.
class WriteBehind {
public:
    static constexpr std::size_t capacity = 8u << 20;
    /// What is sent at once: one round trip for this much, and little enough to end in time on a slow link.
    static constexpr std::size_t chunkSize = 1u << 20;

    struct Chunk {
        std::uint64_t offset = 0;
        std::uint64_t turn = 0;
        std::vector<char> bytes;
    };

    bool hasRoomFor(std::size_t size) const { return held_ == 0 || held_ + size <= capacity; }
    /// Joins bytes that continue the last ones. `turn` counts the writes to the file through all of its
    /// handles.
    void append(std::uint64_t turn, std::uint64_t offset, const char* bytes, std::size_t size);
    bool isEmpty() const { return held_ == 0; }

    bool hasUnsent() const { return !unsent_.empty(); }
    /// Turn of the oldest bytes; requires hasUnsent().
    std::uint64_t oldestTurn() const { return unsent_.front().turn; }
    /// The oldest bytes; requires hasUnsent().
    Chunk takeChunk();
    void confirm(std::size_t size) { held_ -= size; }
    void clear();

private:
    std::deque<Chunk> unsent_;
    std::size_t held_ = 0;
    std::uint64_t lastTurn_ = 0;
};

} // namespace ternvault::volume

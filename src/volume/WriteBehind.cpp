#include "volume/WriteBehind.h"

#include <utility>

namespace ternvault::volume {

void WriteBehind::append(std::uint64_t turn, std::uint64_t offset, const char* bytes, std::size_t size) {
    held_ += size;
    const bool isNext = turn == std::exchange(lastTurn_, turn) + 1;
    const bool continues = isNext && !unsent_.empty() &&
                           unsent_.back().offset + unsent_.back().bytes.size() == offset &&
                           unsent_.back().bytes.size() + size <= chunkSize;
    if (!continues)
        unsent_.push_back({offset, turn, {}});
    auto& last = unsent_.back().bytes;
    last.insert(last.end(), bytes, bytes + size);
}

WriteBehind::Chunk WriteBehind::takeChunk() {
    auto chunk = std::move(unsent_.front());
    unsent_.pop_front();
    return chunk;
}

void WriteBehind::clear() {
    unsent_.clear();
    held_ = 0;
}

} // namespace ternvault::volume

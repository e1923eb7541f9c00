#include "volume/DirectoryCache.h"

#include <algorithm>

namespace ternvault::volume {

DirectoryCache::Clock::duration DirectoryCache::lifetime(Clock::duration fetching) {
    constexpr int fetchingShare = 10;
    return std::max<Clock::duration>(std::chrono::seconds(2), fetching * fetchingShare);
}

const Listing* DirectoryCache::find(const std::string& directory, Clock::time_point now) {
    const auto* fetched = listings_.find(directory);
    return fetched && now < fetched->end ? &fetched->listing : nullptr;
}

void DirectoryCache::put(const std::string& directory, Listing listing, Clock::time_point now,
                         Clock::duration fetching) {
    listings_.eraseIf([&](const Fetched& old) { return old.end <= now; });
    listings_.set(directory, {std::move(listing), now + lifetime(fetching)});
}

Entry* DirectoryCache::entry(const std::string& path, Clock::time_point now) {
    auto* fetched = listings_.find(parentPath(path));
    if (!fetched || now >= fetched->end)
        return nullptr;
    const auto it = fetched->listing.find(lastName(path));
    return it == fetched->listing.end() ? nullptr : &it->second;
}

void DirectoryCache::update(const std::string& path, const Entry& entry) {
    if (auto* fetched = listings_.find(parentPath(path)))
        fetched->listing.insert_or_assign(lastName(path), entry);
}

void DirectoryCache::erase(const std::string& path) {
    if (auto* fetched = listings_.find(parentPath(path)))
        fetched->listing.erase(lastName(path));
    listings_.eraseSubtree(path);
}

void DirectoryCache::invalidate(const std::string& directory) {
    if (directory.empty())
        listings_ = {};
    else
        listings_.eraseSubtree(directory);
}

void DirectoryCache::invalidateParent(const std::string& path) {
    listings_.erase(parentPath(path));
}

} // namespace ternvault::volume

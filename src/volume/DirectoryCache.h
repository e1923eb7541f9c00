#pragma once

#include "volume/Entry.h"
#include "volume/PathTable.h"

#include <chrono>
#include <map>
#include <memory>
#include <string>

namespace ternvault::volume {

/// Entries of one directory by their local names.
using Listing = std::map<std::string, Entry>;

/// Listings of directories for a short time. A fresh listing also tells that a name does not exist: in
/// exactly that spelling, for the volume tells upper from lower case although the server may not. Changes
/// made through the volume are applied here at once, so only what others do on the server shows late. Not
/// thread-safe; `now` is passed in.
class DirectoryCache {
public:
    using Clock = std::chrono::steady_clock;

    /// Two seconds, or longer where fetching took long, so that big directories are not fetched all the time.
    static Clock::duration lifetime(Clock::duration fetching);

    /// Null when there is none or it is too old.
    const Listing* find(const std::string& directory, Clock::time_point now);
    /// Older listings are dropped on the way, which bounds the cache.
    void put(const std::string& directory, Listing listing, Clock::time_point now, Clock::duration fetching);

    /// The entry at that path when its directory's listing is fresh and has it.
    Entry* entry(const std::string& path, Clock::time_point now);
    /// Adds or replaces an entry in its directory's listing, if there is one.
    void update(const std::string& path, const Entry& entry);
    /// Takes the entry out of its directory's listing, and drops what is known below it.
    void erase(const std::string& path);
    /// Forgets the listings of the directory and of all below it.
    void invalidate(const std::string& directory);
    /// Forgets the listing of the directory that holds the path.
    void invalidateParent(const std::string& path);

private:
    struct Fetched {
        Listing listing;
        Clock::time_point end;
    };
    PathTable<Fetched> listings_;
};

} // namespace ternvault::volume

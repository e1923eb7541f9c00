#include "volume/NameMapping.h"
#include "volume/SymlinkFile.h"
#include "volume/Volume.h"

#include <algorithm>
#include <system_error>

#include <fcntl.h>
#include <linux/fs.h>

namespace ternvault::volume {
namespace {

[[noreturn]] void fail(int error) {
    throw std::system_error(error, std::generic_category());
}

Entry newEntry(Entry::Kind kind) {
    Entry entry;
    entry.kind = kind;
    ::clock_gettime(CLOCK_REALTIME, &entry.modified);
    entry.accessed = entry.changed = entry.modified;
    return entry;
}

mode_t directoryType(Entry::Kind kind) {
    switch (kind) {
    case Entry::Kind::File:
        return S_IFREG;
    case Entry::Kind::Directory:
        return S_IFDIR;
    case Entry::Kind::Symlink:
        return S_IFLNK;
    case Entry::Kind::FileOrSymlink:
        break;
    }
    return 0;
}

} // namespace

/// Lock held.
void Volume::touchParent(const std::string& path) {
    const auto parent = parentPath(path);
    const auto time = newEntry(Entry::Kind::Directory).modified;
    auto* entry = parent.empty() ? &root_ : cache_.entry(parent, DirectoryCache::Clock::now());
    if (entry)
        entry->modified = entry->changed = time;
}

void Volume::added(const std::string& path, const Entry& entry, mode_t mode) {
    const Lock lock(mutex_);
    cache_.update(path, entry);
    touchParent(path);
    rememberMode(path, mode);
}

void Volume::removed(const std::string& path) {
    journal_.remove(path);
    const Lock lock(mutex_);
    cache_.erase(path);
    touchParent(path);
    modes_.eraseSubtree(path);
    lost_.remove(path);
    nodes_.markGone(path);
}

void Volume::makeDirectory(const RequestPtr& request, std::uint64_t parent, std::string_view name,
                           mode_t mode) {
    const Lock lock(mutex_);
    worker_.submit(request, [this, request, path = pathOf(parent, name), mode](SmbShare& share) {
        share.makeDirectory(path);
        const auto entry = newEntry(Entry::Kind::Directory);
        added(path, entry, S_IFDIR | mode);
        const auto now = DirectoryCache::Clock::now();
        {
            const Lock relock(mutex_);
            cache_.put(path, {}, now, {});
        }
        answerEntry(request, path, entry);
    });
}

void Volume::makeSymlink(const RequestPtr& request, std::uint64_t parent, std::string_view name,
                         const std::string& target) {
    if (target.size() > longestSymlinkTarget)
        fail(ENAMETOOLONG);
    const Lock lock(mutex_);
    worker_.submit(request, [this, request, path = pathOf(parent, name), target](SmbShare& share) {
        share.createFile(path, encodeSymlink(target));
        auto entry = newEntry(Entry::Kind::Symlink);
        entry.size = target.size();
        entry.target = target;
        added(path, entry, S_IFLNK | 0777);
        answerEntry(request, path, entry);
    });
}

void Volume::makeFile(const RequestPtr& request, std::uint64_t parent, std::string_view name, mode_t mode) {
    if (!S_ISREG(mode))
        fail(EPERM);
    const Lock lock(mutex_);
    worker_.submit(request, [this, request, path = pathOf(parent, name), mode](SmbShare& share) {
        share.createFile(path, {});
        const auto entry = newEntry(Entry::Kind::File);
        added(path, entry, mode);
        answerEntry(request, path, entry);
    });
}

void Volume::unlink(const RequestPtr& request, std::uint64_t parent, std::string_view name) {
    const Lock lock(mutex_);
    worker_.submit(request, [this, request, path = pathOf(parent, name)](SmbShare& share) {
        share.unlink(path);
        removed(path);
        request->done();
    });
}

void Volume::removeDirectory(const RequestPtr& request, std::uint64_t parent, std::string_view name) {
    const Lock lock(mutex_);
    worker_.submit(request, [this, request, path = pathOf(parent, name)](SmbShare& share) {
        share.removeDirectory(path);
        removed(path);
        request->done();
    });
}

/// libsmbclient would remove a file at `to` whose name is spelled differently. A new spelling of the same
/// file is fine.
void Volume::refuseOtherSpelling(SmbShare& share, const std::string& from, const std::string& to) {
    const auto now = DirectoryCache::Clock::now();
    ensureListing(share, parentPath(to), now);
    {
        const Lock lock(mutex_);
        if (cache_.entry(to, now) || equalIgnoringCase(from, to))
            return;
    }
    try {
        share.stat(to);
    } catch (const std::system_error& error) {
        if (error.code().value() == ENOENT)
            return;
        throw;
    }
    fail(EEXIST);
}

void Volume::rename(const RequestPtr& request, std::uint64_t parent, std::string_view name,
                    std::uint64_t newParent, std::string_view newName, unsigned flags) {
    if (flags & ~static_cast<unsigned>(RENAME_NOREPLACE))
        fail(EINVAL);
    const Lock lock(mutex_);
    worker_.submit(request, [this, request, from = pathOf(parent, name), to = pathOf(newParent, newName),
                             flags](SmbShare& share) {
        refuseOtherSpelling(share, from, to);
        const auto entry = fetchEntry(share, from);
        NodePtr node;
        {
            const Lock relock(mutex_);
            if ((flags & RENAME_NOREPLACE) && cache_.entry(to, Time::min()))
                fail(EEXIST);
            node = nodes_.find(from);
        }
        if (node)
            drainNode(share, node);
        journal_.addRenamed(from, to);
        share.rename(from, to);
        journal_.remove(from);
        const Lock relock(mutex_);
        cache_.erase(from);
        cache_.erase(to);
        cache_.update(to, entry);
        touchParent(from);
        touchParent(to);
        modes_.moveSubtree(from, to);
        lost_.move(from, to);
        nodes_.move(from, to);
        request->done();
    });
}

void Volume::openDirectory(const RequestPtr& request, std::uint64_t number, fuse_file_info file) {
    Lock lock(mutex_);
    const auto node = nodes_.find(number);
    if (!node)
        fail(ENOENT);
    file.fh = ++lastFile_;
    directories_[file.fh] = std::make_shared<OpenDirectory>(OpenDirectory{node, {}});
    lock.unlock();
    if (!request->opened(file))
        releaseDirectory(nullptr, file.fh);
}

void Volume::readDirectory(const RequestPtr& request, std::uint64_t file, std::size_t size,
                           std::uint64_t offset) {
    Lock lock(mutex_);
    const auto it = directories_.find(file);
    if (it == directories_.end())
        fail(EBADF);
    const auto directory = it->second;
    lock.unlock();
    if (offset > 0) {
        answerItems(request, *directory, size, offset);
        return;
    }
    worker_.submit(
        request,
        [this, request, directory, size](SmbShare& share) {
            const auto path = livePath(*directory->node);
            ensureListing(share, path, DirectoryCache::Clock::now());
            {
                constexpr std::uint64_t unknownNumber = 0xffffffff;
                const Lock relock(mutex_);
                const auto* listing = cache_.find(path, Time::min());
                if (!listing)
                    fail(EIO);
                directory->items = {{".", Entry::Kind::Directory, directory->node->number},
                                    {"..", Entry::Kind::Directory, unknownNumber}};
                for (const auto& [name, entry] : *listing) {
                    const auto node = nodes_.find(childPath(path, name));
                    directory->items.push_back({name, entry.kind, node ? node->number : unknownNumber});
                }
            }
            answerItems(request, *directory, size, 0);
        },
        SmbWorker::Patience::UntilReconnected);
}

/// The kernel reads one open directory by one request at a time.
void Volume::answerItems(const RequestPtr& request, const OpenDirectory& directory, std::size_t size,
                         std::uint64_t offset) {
    std::vector<char> buffer(size);
    std::size_t used = 0;
    for (auto i = offset; i < directory.items.size(); ++i) {
        const auto& item = directory.items[i];
        struct stat status {};
        status.st_ino = item.number;
        status.st_mode = directoryType(item.kind);
        const auto needed = fuse_add_direntry(request->raw(), buffer.data() + used, size - used,
                                              item.name.c_str(), &status, static_cast<off_t>(i + 1));
        if (needed > size - used)
            break;
        used += needed;
    }
    request->data(buffer.data(), used);
}

/// In the worker's turn, after any listing that is just being fetched.
void Volume::syncDirectory(const RequestPtr& request, std::uint64_t file) {
    const Lock lock(mutex_);
    const auto it = directories_.find(file);
    if (it == directories_.end())
        fail(EBADF);
    worker_.submit(request, [this, request, directory = it->second->node](SmbShare&) {
        if (const auto path = pathIfThere(*directory)) {
            const Lock relock(mutex_);
            cache_.invalidateParent(*path);
            cache_.invalidate(*path);
            nodes_.forEach([&](const Node& node) {
                if (isWithin(node.path, *path))
                    hooks_.dropAttributes(node.number);
            });
        }
        request->done();
    });
}

void Volume::releaseDirectory(const RequestPtr& request, std::uint64_t file) {
    {
        const Lock lock(mutex_);
        directories_.erase(file);
    }
    if (request)
        request->done();
}

} // namespace ternvault::volume

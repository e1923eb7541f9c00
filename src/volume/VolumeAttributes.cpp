#include "volume/NameMapping.h"
#include "volume/SymlinkFile.h"
#include "volume/Volume.h"

#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace ternvault::volume {
namespace {

constexpr double kernelCacheSeconds = 1.0;
constexpr std::size_t longestName = 255;
constexpr mode_t permissionBits = 07777;
constexpr int timeChanges =
    FUSE_SET_ATTR_ATIME | FUSE_SET_ATTR_MTIME | FUSE_SET_ATTR_ATIME_NOW | FUSE_SET_ATTR_MTIME_NOW;

[[noreturn]] void fail(int error) {
    throw std::system_error(error, std::generic_category());
}

mode_t typeBits(Entry::Kind kind) {
    switch (kind) {
    case Entry::Kind::Directory:
        return S_IFDIR | 0755;
    case Entry::Kind::Symlink:
        return S_IFLNK | 0777;
    case Entry::Kind::File:
    case Entry::Kind::FileOrSymlink:
        break;
    }
    return S_IFREG | 0644;
}

timespec now() {
    timespec time{};
    ::clock_gettime(CLOCK_REALTIME, &time);
    return time;
}

/// The server is told microseconds.
timespec asKept(timespec time) {
    return {time.tv_sec, time.tv_nsec / 1000 * 1000};
}

} // namespace

/// Throws what the system answers for a name that cannot exist. Lock held.
std::string Volume::pathOf(std::uint64_t parent, std::string_view name) {
    const auto node = nodes_.find(parent);
    if (!node || node->gone)
        fail(ENOENT);
    if (name.size() > longestName)
        fail(ENAMETOOLONG);
    if (!toServerName(name))
        fail(EILSEQ);
    return childPath(node->path, name);
}

/// Nothing when it was removed.
std::optional<std::string> Volume::pathIfThere(const Node& node) {
    const Lock lock(mutex_);
    return node.gone ? std::nullopt : std::optional(node.path);
}

std::string Volume::livePath(const Node& node) {
    const auto path = pathIfThere(node);
    if (!path)
        fail(ESTALE);
    return *path;
}

/// What can be said of the path without the network; null when nothing. Lock held.
const Entry* Volume::knownEntry(const std::string& path, Time now) {
    if (path.empty())
        return &root_;
    if (const auto node = nodes_.find(path); node && isBeingWritten(*node))
        return &node->entry;
    return cache_.entry(path, now);
}

/// The listing is there as of `now`.
void Volume::ensureListing(SmbShare& share, const std::string& directory, Time now) {
    {
        const Lock lock(mutex_);
        if (cache_.find(directory, now))
            return;
    }
    const auto begin = DirectoryCache::Clock::now();
    auto listing = share.list(directory);
    const auto end = DirectoryCache::Clock::now();
    const Lock lock(mutex_);
    cache_.put(directory, std::move(listing), end, end - begin);
}

Entry Volume::fetchEntry(SmbShare& share, const std::string& path) {
    const auto now = DirectoryCache::Clock::now();
    Lock lock(mutex_);
    const auto* known = knownEntry(path, now);
    if (!known) {
        lock.unlock();
        ensureListing(share, parentPath(path), now);
        lock.lock();
        known = knownEntry(path, now);
    }
    if (!known)
        fail(ENOENT);
    Entry entry = *known;
    lock.unlock();
    if (entry.kind == Entry::Kind::FileOrSymlink)
        classify(share, path, entry);
    return entry;
}

/// Throws ESTALE when the node is not there any more.
Entry Volume::fetchEntry(SmbShare& share, const Node& node) {
    try {
        return fetchEntry(share, livePath(node));
    } catch (const std::system_error& error) {
        fail(error.code().value() == ENOENT ? ESTALE : error.code().value());
    }
}

void Volume::classify(SmbShare& share, const std::string& path, Entry& entry) {
    std::string contents(symlinkFileSize, '\0');
    const auto file = share.open(path, O_RDONLY);
    contents.resize(share.read(file, 0, contents.data(), contents.size()));
    share.close(file);
    entry.kind = Entry::Kind::File;
    if (auto target = decodeSymlink(contents)) {
        entry.kind = Entry::Kind::Symlink;
        entry.size = target->size();
        entry.target = std::move(*target);
    }
    const Lock lock(mutex_);
    cache_.update(path, entry);
}

/// Only what differs from the rule is kept. `mode` with its type bits. Lock held.
void Volume::rememberMode(const std::string& path, mode_t mode) {
    if (mode == typeBits(S_ISDIR(mode) ? Entry::Kind::Directory : Entry::Kind::File))
        modes_.erase(path);
    else
        modes_.set(path, mode & permissionBits);
}

/// Lock held.
struct stat Volume::toStat(const Node& node, const Entry& entry) {
    constexpr blksize_t preferredSize = 256 << 10;
    struct stat status {};
    status.st_ino = node.number;
    status.st_mode = typeBits(entry.kind);
    if (const auto* mode = modes_.find(node.path); mode && !node.gone)
        status.st_mode = (status.st_mode & S_IFMT) | *mode;
    status.st_nlink = 1;
    status.st_uid = ::geteuid();
    status.st_gid = ::getegid();
    status.st_size = static_cast<off_t>(entry.size);
    status.st_blksize = preferredSize;
    status.st_blocks = static_cast<blkcnt_t>((entry.size + 511) / 512);
    status.st_mtim = lost_.error(node.path) && !node.gone ? unfinishedTime : entry.modified;
    status.st_atim = entry.accessed;
    status.st_ctim = entry.changed;
    return status;
}

void Volume::answerEntry(const RequestPtr& request, const std::string& path, const Entry& entry) {
    fuse_entry_param answer{};
    answer.attr_timeout = answer.entry_timeout = kernelCacheSeconds;
    {
        const Lock lock(mutex_);
        const auto node = nodes_.lookUp(path);
        answer.ino = node->number;
        answer.attr = toStat(*node, entry);
    }
    if (!request->entry(answer))
        forget(answer.ino, 1);
}

void Volume::lookUp(const RequestPtr& request, std::uint64_t parent, std::string_view name) {
    Lock lock(mutex_);
    const auto path = pathOf(parent, name);
    const auto time = DirectoryCache::Clock::now();
    const auto* known = knownEntry(path, time);
    if (known && known->kind != Entry::Kind::FileOrSymlink) {
        const Entry entry = *known;
        lock.unlock();
        answerEntry(request, path, entry);
        return;
    }
    if (!known && cache_.find(parentPath(path), time))
        fail(ENOENT);
    lock.unlock();
    worker_.submit(
        request,
        [this, request, path](SmbShare& share) { answerEntry(request, path, fetchEntry(share, path)); },
        SmbWorker::Patience::UntilReconnected);
}

void Volume::forget(std::uint64_t number, std::uint64_t lookups) {
    const Lock lock(mutex_);
    nodes_.forget(number, lookups);
}

void Volume::getAttributes(const RequestPtr& request, std::uint64_t number) {
    Lock lock(mutex_);
    const auto node = nodes_.find(number);
    const bool written = node && isBeingWritten(*node);
    if (!node || (node->gone && !written))
        fail(ENOENT);
    const auto* known = written ? &node->entry : knownEntry(node->path, DirectoryCache::Clock::now());
    if (known && known->kind != Entry::Kind::FileOrSymlink) {
        const auto status = toStat(*node, *known);
        lock.unlock();
        request->attributes(status, kernelCacheSeconds);
        return;
    }
    lock.unlock();
    worker_.submit(
        request,
        [this, request, node](SmbShare& share) {
            const auto entry = fetchEntry(share, *node);
            Lock relock(mutex_);
            const auto status = toStat(*node, entry);
            relock.unlock();
            request->attributes(status, kernelCacheSeconds);
        },
        SmbWorker::Patience::UntilReconnected);
}

void Volume::setAttributes(const RequestPtr& request, std::uint64_t number, const struct stat& wanted,
                           int changed, std::uint64_t file) {
    Lock lock(mutex_);
    const auto node = nodes_.find(number);
    if (!node)
        fail(ENOENT);
    if (((changed & FUSE_SET_ATTR_UID) && wanted.st_uid != ::geteuid()) ||
        ((changed & FUSE_SET_ATTR_GID) && wanted.st_gid != ::getegid()))
        fail(EPERM);
    const HandlePtr through = file ? handleOf(file) : nullptr;
    const bool changesContent = changed & (FUSE_SET_ATTR_SIZE | timeChanges);
    if (changesContent)
        refusePoisoned(*node, through);
    if (changed & FUSE_SET_ATTR_MODE)
        rememberMode(node->path, wanted.st_mode);
    lock.unlock();
    if (!changesContent) {
        getAttributes(request, number);
        return;
    }
    worker_.submit(request, [=, this](SmbShare& share) {
        if (changed & FUSE_SET_ATTR_SIZE)
            setSize(share, node, through, static_cast<std::uint64_t>(wanted.st_size));
        if (changed & timeChanges)
            setTimes(share, node, wanted, changed);
        getAttributes(request, number);
    });
}

/// Throws why bytes of the file were lost, or EIO when its handle dates from before an outage. Lock held.
void Volume::refusePoisoned(const Node& node, const HandlePtr& through) {
    if (const int error = lost_.error(node.path))
        fail(error);
    if (through && through->lostError)
        fail(through->lostError);
    if (through && !isLive(*through))
        fail(EIO);
}

void Volume::setSize(SmbShare& share, const NodePtr& node, const HandlePtr& through, std::uint64_t size) {
    const auto path = livePath(*node);
    drainNode(share, node);
    Entry entry = fetchEntry(share, *node);
    HandlePtr writer = through;
    {
        const Lock lock(mutex_);
        refusePoisoned(*node, through);
        const auto writers = node->liveWriters();
        if (!writer && !writers.empty())
            writer = writers.front();
        if (writer)
            writer->unconfirmed = true;
    }
    if (entry.size == size)
        return;
    const auto file = writer ? writer->file : share.open(path, O_WRONLY);
    if (writer && size > entry.size)
        journal_.add(path);
    share.truncate(file, size);
    if (!writer)
        share.close(file);
    if (!writer && isMarkedUnfinished(entry.modified))
        share.setTimes(path, entry.accessed, entry.modified);
    entry.size = size;
    const Lock lock(mutex_);
    node->entry = entry;
    node->sizeOnServer = size;
    noteChange(*node);
    cache_.update(path, node->entry);
}

void Volume::setTimes(SmbShare& share, const NodePtr& node, const struct stat& wanted, int changed) {
    const auto path = livePath(*node);
    drainNode(share, node);
    Entry entry = fetchEntry(share, *node);
    {
        const Lock lock(mutex_);
        refusePoisoned(*node, nullptr);
    }
    if (changed & FUSE_SET_ATTR_ATIME_NOW)
        entry.accessed = now();
    else if (changed & FUSE_SET_ATTR_ATIME)
        entry.accessed = asKept(wanted.st_atim);
    if (changed & FUSE_SET_ATTR_MTIME_NOW)
        entry.modified = now();
    else if (changed & FUSE_SET_ATTR_MTIME)
        entry.modified = asKept(wanted.st_mtim);
    share.setTimes(path, entry.accessed, entry.modified);
    entry.changed = now();
    const Lock lock(mutex_);
    node->entry = entry;
    node->hasExplicitTimes = true;
    if (path.empty())
        root_ = entry;
    else
        cache_.update(path, entry);
}

void Volume::readLink(const RequestPtr& request, std::uint64_t number) {
    Lock lock(mutex_);
    const auto node = nodes_.find(number);
    if (!node)
        fail(ENOENT);
    lock.unlock();
    worker_.submit(
        request,
        [this, request, node](SmbShare& share) {
            const auto entry = fetchEntry(share, *node);
            if (entry.kind != Entry::Kind::Symlink)
                fail(EINVAL);
            request->link(entry.target);
        },
        SmbWorker::Patience::UntilReconnected);
}

/// What is known now; asking makes it fresher for the next time.
void Volume::space(const RequestPtr& request) {
    constexpr std::chrono::seconds freshFor{2};
    Lock lock(mutex_);
    const auto answer = space_;
    const auto time = DirectoryCache::Clock::now();
    if (time - spaceAsked_ > freshFor) {
        spaceAsked_ = time;
        worker_.submit([this](SmbShare& share) { refreshSpace(share); });
    }
    lock.unlock();
    request->space(answer);
}

void Volume::refreshSpace(SmbShare& share) {
    const auto space = share.space();
    const Lock lock(mutex_);
    space_ = space;
    space_.f_namemax = longestName;
}

void Volume::refresh(SmbShare& share) {
    const auto root = share.stat("");
    {
        const Lock lock(mutex_);
        root_ = root;
    }
    refreshSpace(share);
    ageLostFiles(share);
}

void Volume::serverGone() {
    hooks_.leave();
}

} // namespace ternvault::volume

#include "volume/Volume.h"

#include <system_error>

#include <fcntl.h>

namespace ternvault::volume {
namespace {

[[noreturn]] void fail(int error) {
    throw std::system_error(error, std::generic_category());
}

bool opensForWriting(int flags) {
    return (flags & O_ACCMODE) != O_RDONLY;
}

timespec now() {
    timespec time{};
    ::clock_gettime(CLOCK_REALTIME, &time);
    return time;
}

} // namespace

/// Lock held.
HandlePtr Volume::handleOf(std::uint64_t file) {
    const auto it = handles_.find(file);
    if (it == handles_.end())
        fail(EBADF);
    return it->second;
}

/// Lock held.
std::uint64_t Volume::addHandle(const SmbShare& share, const NodePtr& node, SmbShare::File file, int flags,
                                Entry entry) {
    auto handle = std::make_shared<Handle>();
    handle->node = node;
    handle->file = file;
    handle->generation = share.generation();
    handle->writable = opensForWriting(flags);
    if (handle->writable) {
        if (!isBeingWritten(*node)) {
            node->entry = std::move(entry);
            node->sizeOnServer = node->entry.size;
            node->hasExplicitTimes = isMarkedUnfinished(node->entry.modified);
        }
        if (flags & O_TRUNC) {
            node->entry.size = node->sizeOnServer = 0;
            // Nothing is left of what was unfinished.
            node->entry.modified = now();
            node->hasExplicitTimes = false;
        }
        std::erase_if(node->writers, [](const auto& writer) { return writer.expired(); });
        node->writers.push_back(handle);
    }
    handles_[++lastFile_] = std::move(handle);
    return lastFile_;
}

/// Creates without ever opening a file that exists, unless the very same name was made meanwhile and the
/// caller does not mind.
SmbShare::File Volume::createFile(SmbShare& share, const std::string& path, int flags) {
    const int wanted = flags & (O_ACCMODE | O_TRUNC);
    try {
        return share.open(path, wanted | O_CREAT | O_EXCL);
    } catch (const std::system_error& error) {
        if (error.code().value() != EEXIST || (flags & O_EXCL))
            throw;
    }
    {
        const Lock lock(mutex_);
        cache_.invalidateParent(path);
    }
    ensureListing(share, parentPath(path), DirectoryCache::Clock::now());
    {
        const Lock lock(mutex_);
        if (!cache_.entry(path, Time::min()))
            fail(EEXIST);
    }
    prepareForWriting(share, path);
    return share.open(path, wanted);
}

void Volume::create(const RequestPtr& request, std::uint64_t parent, std::string_view name, mode_t mode,
                    fuse_file_info file) {
    const Lock lock(mutex_);
    worker_.submit(
        request,
        [this, request, path = pathOf(parent, name), mode, file](SmbShare& share) mutable {
            const auto opened = createFile(share, path, file.flags);
            Entry entry;
            entry.modified = entry.accessed = entry.changed = now();
            added(path, entry, S_IFREG | mode);
            fuse_entry_param answer{};
            answer.attr_timeout = answer.entry_timeout = 1.0;
            {
                const Lock relock(mutex_);
                const auto node = nodes_.lookUp(path);
                answer.ino = node->number;
                file.fh = addHandle(share, node, opened, file.flags | O_TRUNC, entry);
                answer.attr = toStat(*node, entry);
            }
            if (!request->created(answer, file)) {
                release(nullptr, file.fh);
                forget(answer.ino, 1);
            }
        },
        SmbWorker::Patience::UntilReconnected);
}

void Volume::open(const RequestPtr& request, std::uint64_t number, fuse_file_info file) {
    Lock lock(mutex_);
    const auto node = nodes_.find(number);
    if (!node)
        fail(ENOENT);
    lock.unlock();
    worker_.submit(
        request,
        [this, request, node, file](SmbShare& share) mutable {
            const auto path = livePath(*node);
            const bool writable = opensForWriting(file.flags);
            if (writable) {
                drainNode(share, node);
                prepareForWriting(share, path);
            }
            const auto entry = fetchEntry(share, *node);
            const auto opened =
                askAbout(*node, path, [&] { return share.open(path, file.flags & (O_ACCMODE | O_TRUNC)); });
            {
                const Lock relock(mutex_);
                if (writable)
                    lost_.remove(path);
                file.fh = addHandle(share, node, opened, file.flags, entry);
            }
            if (!request->opened(file))
                release(nullptr, file.fh);
        },
        SmbWorker::Patience::UntilReconnected);
}

void Volume::prepareForWriting(SmbShare& share, const std::string& path) {
    {
        const Lock lock(mutex_);
        if (!lost_.mustBeAged(path))
            return;
    }
    ageLostFiles(share);
    const Lock lock(mutex_);
    if (lost_.mustBeAged(path))
        fail(lost_.error(path));
}

void Volume::read(const RequestPtr& request, std::uint64_t file, std::size_t size, std::uint64_t offset) {
    const Lock lock(mutex_);
    worker_.submit(request, [this, request, handle = handleOf(file), size, offset](SmbShare& share) {
        drainNode(share, handle->node);
        if (!isLive(*handle))
            fail(EIO);
        std::vector<char> buffer(size);
        const auto count = share.read(handle->file, offset, buffer.data(), size);
        request->data(buffer.data(), count);
    });
}

void Volume::write(const RequestPtr& request, std::uint64_t file, const char* bytes, std::size_t size,
                   std::uint64_t offset) {
    const Lock lock(mutex_);
    const auto handle = handleOf(file);
    auto& node = *handle->node;
    if (!handle->lostError && !isLive(*handle))
        loseWrites(node, EIO);
    if (handle->lostError)
        fail(handle->lostError);
    handle->unconfirmed = true;
    node.entry.size = std::max(node.entry.size, offset + size);
    noteChange(node);
    if (handle->stalled.empty() && handle->pending.hasRoomFor(size)) {
        handle->pending.append(++node.writes, offset, bytes, size);
        request->written(size);
    } else {
        handle->stalled.push_back({request, offset, {bytes, bytes + size}});
    }
    queueDrain(handle);
}

/// The present time, but for a file that is marked. Lock held.
void Volume::noteChange(Node& node) {
    node.entry.changed = now();
    if (isMarkedUnfinished(node.entry.modified))
        return;
    node.entry.modified = node.entry.changed;
    node.hasExplicitTimes = false;
}

/// Lock held.
void Volume::queueDrain(const HandlePtr& handle) {
    if (std::exchange(handle->drainQueued, true))
        return;
    worker_.submit([this, handle](SmbShare& share) {
        {
            const Lock lock(mutex_);
            handle->drainQueued = false;
        }
        drain(share, handle);
    });
}

/// Lock held.
void Volume::admitStalled(Handle& handle) {
    while (!handle.stalled.empty() && handle.pending.hasRoomFor(handle.stalled.front().bytes.size())) {
        const auto& write = handle.stalled.front();
        handle.pending.append(++handle.node->writes, write.offset, write.bytes.data(), write.bytes.size());
        write.request->written(write.bytes.size());
        handle.stalled.pop_front();
    }
}

/// Whose bytes come before those of `handle`, which has some unsent: through another handle of the file older
/// ones may wait for the same place. Lock held.
HandlePtr Volume::nextToSend(const HandlePtr& handle) const {
    auto next = handle;
    for (const auto& writer : handle->node->liveWriters()) {
        const auto& pending = writer->pending;
        if (isLive(*writer) && pending.hasUnsent() && pending.oldestTurn() < next->pending.oldestTurn())
            next = writer;
    }
    return next;
}

/// Returns when all that was accepted is on the server; throws after a lost write.
void Volume::drain(SmbShare& share, const HandlePtr& handle) {
    Lock lock(mutex_);
    while (handle->pending.hasUnsent()) {
        if (!isLive(*handle))
            fail(EIO);
        const auto writer = nextToSend(handle);
        const auto chunk = writer->pending.takeChunk();
        const auto file = writer->file;
        auto& node = *handle->node;
        // Only what grows byte by byte is shorter until it is whole.
        const bool appends = chunk.offset == node.sizeOnServer;
        const auto overwritten = appends || node.gone ? std::nullopt : std::optional(node.path);
        lock.unlock();
        try {
            if (overwritten)
                journal_.add(*overwritten);
            share.write(file, chunk.offset, chunk.bytes.data(), chunk.bytes.size());
        } catch (const std::system_error& error) {
            lock.lock();
            loseWrites(node, error.code().value());
            throw;
        }
        lock.lock();
        node.sizeOnServer = std::max(node.sizeOnServer, chunk.offset + chunk.bytes.size());
        if (writer->lostError)
            break;
        writer->pending.confirm(chunk.bytes.size());
        admitStalled(*writer);
    }
    if (handle->lostError)
        fail(handle->lostError);
}

void Volume::drainNode(SmbShare& share, const NodePtr& node) {
    Lock lock(mutex_);
    const auto writers = node->liveWriters();
    lock.unlock();
    for (const auto& writer : writers) {
        lock.lock();
        const bool waits = writer->pending.hasUnsent();
        lock.unlock();
        if (waits)
            drain(share, writer);
    }
}

void Volume::flush(const RequestPtr& request, std::uint64_t file) {
    Lock lock(mutex_);
    const auto handle = handleOf(file);
    if (handle->unconfirmed && !handle->lostError && !isLive(*handle))
        loseWrites(*handle->node, EIO);
    if (handle->lostError)
        fail(handle->lostError);
    if (!handle->unconfirmed) {
        lock.unlock();
        request->done();
        return;
    }
    lock.unlock();
    worker_.submit(request, [this, request, handle](SmbShare& share) {
        drain(share, handle);
        {
            const Lock relock(mutex_);
            if (!isLive(*handle))
                fail(EIO);
            handle->unconfirmed = !handle->pending.isEmpty();
        }
        request->done();
    });
}

void Volume::sync(const RequestPtr& request, std::uint64_t file) {
    Lock lock(mutex_);
    const auto handle = handleOf(file);
    lock.unlock();
    if (handle->writable) {
        flush(request, file);
        return;
    }
    worker_.submit(request, [this, request, node = handle->node](SmbShare& share) {
        if (const auto path = pathIfThere(*node)) {
            const auto entry = askAbout(*node, *path, [&] { return share.stat(*path); });
            const Lock relock(mutex_);
            cache_.update(*path, entry);
            hooks_.dropAttributes(node->number);
        }
        request->done();
    });
}

void Volume::release(const RequestPtr& request, std::uint64_t file) {
    {
        const Lock lock(mutex_);
        const auto handle = handleOf(file);
        handles_.erase(file);
        worker_.submit([this, handle](SmbShare& share) { closeHandle(share, handle); });
    }
    if (request)
        request->done();
}

void Volume::closeHandle(SmbShare& share, const HandlePtr& handle) {
    if (handle->writable && !handle->lostError)
        drain(share, handle);
    if (!isLive(*handle))
        return;
    share.close(std::exchange(handle->file, nullptr));
    Lock lock(mutex_);
    auto& node = *handle->node;
    if (!handle->writable || handle->lostError || node.gone)
        return;
    cache_.update(node.path, node.entry);
    if (node.liveWriters().size() > 1)
        return;
    const auto path = node.path;
    const auto entry = node.entry;
    const bool setsTimes = node.hasExplicitTimes;
    lock.unlock();
    try {
        if (setsTimes)
            share.setTimes(path, entry.accessed, entry.modified);
    } catch (const std::system_error& error) {
        lock.lock();
        if (isMarkedUnfinished(entry.modified))
            loseWrites(node, error.code().value());
        throw;
    }
    journal_.remove(path);
}

/// All that a write to the file was lost means for its handles; `error` is what they report. Lock held.
void Volume::loseWrites(Node& node, int error) {
    for (const auto& handle : node.liveWriters()) {
        if (!handle->lostError)
            handle->lostError = error;
        handle->pending.clear();
        for (const auto& write : std::exchange(handle->stalled, {}))
            write.request->error(error);
    }
    if (node.gone)
        return;
    lost_.add(node.path, error);
    cache_.invalidateParent(node.path);
    hooks_.dropAttributes(node.number);
    worker_.submit([this](SmbShare& share) { ageLostFiles(share); });
}

/// The files that an earlier daemon left unfinished. What the kernel is told of their times is old at once.
Volume::Volume(SmbWorker& worker, OverwriteJournal& journal) : worker_(worker), journal_(journal) {
    for (const auto& path : journal.paths())
        lost_.add(path, EIO);
}

/// Closes first: a later close would set the present time again.
void Volume::ageLostFiles(SmbShare& share) {
    Lock lock(mutex_);
    for (const auto& path : lost_.pathsToAge()) {
        const auto node = nodes_.find(path);
        for (const auto& writer : node ? node->liveWriters() : std::vector<HandlePtr>()) {
            if (!writer->lostError || !isLive(*writer))
                continue;
            const auto file = std::exchange(writer->file, nullptr);
            lock.unlock();
            try {
                share.close(file);
            } catch (const std::system_error&) {
                // The file is closed with the connection at the latest.
            }
            lock.lock();
        }
        lock.unlock();
        int error = 0;
        try {
            share.setTimes(path, unfinishedTime, unfinishedTime);
        } catch (const std::system_error& failure) {
            error = failure.code().value();
        }
        if (error == 0 || error == ENOENT)
            journal_.remove(path);
        lock.lock();
        if (error == 0)
            lost_.markAged(path);
        else if (error == ENOENT)
            lost_.remove(path);
        cache_.invalidateParent(path);
    }
}

void Volume::connectionLost() {
    const Lock lock(mutex_);
    nodes_.forEach([this](Node& node) {
        for (const auto& writer : node.liveWriters()) {
            const bool mayMissBytes = writer->unconfirmed || isMarkedUnfinished(node.entry.modified);
            if (mayMissBytes && !writer->lostError) {
                loseWrites(node, EIO);
                break;
            }
        }
    });
    cache_ = {};
}

} // namespace ternvault::volume

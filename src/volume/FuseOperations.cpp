#include "volume/FuseOperations.h"

#include <system_error>

namespace ternvault::volume {
namespace {

constexpr unsigned largestTransfer = 1u << 20;

FuseContext& contextOf(fuse_req_t request) {
    return *static_cast<FuseContext*>(fuse_req_userdata(request));
}

/// Runs the operation with an owned request; what it throws is the answer.
template <typename Operation>
void answer(fuse_req_t raw, Operation operation) {
    const auto request = std::make_shared<Request>(raw);
    try {
        operation(contextOf(raw).volume, request);
    } catch (const std::system_error& error) {
        request->error(error.code().value());
    } catch (const std::bad_alloc&) {
        request->error(ENOMEM);
    }
}

void init(void* userData, fuse_conn_info* connection) {
    // One write of a program is one round trip; bytes never wait in the kernel, where nothing bounds them.
    connection->max_write = largestTransfer;
    connection->max_readahead = largestTransfer;
    connection->want &=
        ~static_cast<unsigned>(FUSE_CAP_WRITEBACK_CACHE | FUSE_CAP_SPLICE_READ | FUSE_CAP_READDIRPLUS);
    static_cast<FuseContext*>(userData)->mounted();
}

void lookup(fuse_req_t request, fuse_ino_t parent, const char* name) {
    answer(request, [&](Volume& volume, const RequestPtr& r) { volume.lookUp(r, parent, name); });
}

void forget(fuse_req_t request, fuse_ino_t number, std::uint64_t lookups) {
    contextOf(request).volume.forget(number, lookups);
    fuse_reply_none(request);
}

void forgetMulti(fuse_req_t request, std::size_t count, fuse_forget_data* items) {
    for (std::size_t i = 0; i < count; ++i)
        contextOf(request).volume.forget(items[i].ino, items[i].nlookup);
    fuse_reply_none(request);
}

void getattr(fuse_req_t request, fuse_ino_t number, fuse_file_info*) {
    answer(request, [&](Volume& volume, const RequestPtr& r) { volume.getAttributes(r, number); });
}

void setattr(fuse_req_t request, fuse_ino_t number, struct stat* wanted, int changed, fuse_file_info* file) {
    answer(request, [&](Volume& volume, const RequestPtr& r) {
        volume.setAttributes(r, number, *wanted, changed, file ? file->fh : 0);
    });
}

void readlink(fuse_req_t request, fuse_ino_t number) {
    answer(request, [&](Volume& volume, const RequestPtr& r) { volume.readLink(r, number); });
}

void mknod(fuse_req_t request, fuse_ino_t parent, const char* name, mode_t mode, dev_t) {
    answer(request, [&](Volume& volume, const RequestPtr& r) { volume.makeFile(r, parent, name, mode); });
}

void mkdir(fuse_req_t request, fuse_ino_t parent, const char* name, mode_t mode) {
    answer(request,
           [&](Volume& volume, const RequestPtr& r) { volume.makeDirectory(r, parent, name, mode); });
}

void unlink(fuse_req_t request, fuse_ino_t parent, const char* name) {
    answer(request, [&](Volume& volume, const RequestPtr& r) { volume.unlink(r, parent, name); });
}

void rmdir(fuse_req_t request, fuse_ino_t parent, const char* name) {
    answer(request, [&](Volume& volume, const RequestPtr& r) { volume.removeDirectory(r, parent, name); });
}

void symlink(fuse_req_t request, const char* target, fuse_ino_t parent, const char* name) {
    answer(request,
           [&](Volume& volume, const RequestPtr& r) { volume.makeSymlink(r, parent, name, target); });
}

void rename(fuse_req_t request, fuse_ino_t parent, const char* name, fuse_ino_t newParent,
            const char* newName, unsigned flags) {
    answer(request, [&](Volume& volume, const RequestPtr& r) {
        volume.rename(r, parent, name, newParent, newName, flags);
    });
}

void link(fuse_req_t request, fuse_ino_t, fuse_ino_t, const char*) {
    fuse_reply_err(request, EPERM);
}

void open(fuse_req_t request, fuse_ino_t number, fuse_file_info* file) {
    answer(request, [&](Volume& volume, const RequestPtr& r) { volume.open(r, number, *file); });
}

void create(fuse_req_t request, fuse_ino_t parent, const char* name, mode_t mode, fuse_file_info* file) {
    answer(request,
           [&](Volume& volume, const RequestPtr& r) { volume.create(r, parent, name, mode, *file); });
}

void read(fuse_req_t request, fuse_ino_t, std::size_t size, off_t offset, fuse_file_info* file) {
    answer(request, [&](Volume& volume, const RequestPtr& r) {
        volume.read(r, file->fh, size, static_cast<std::uint64_t>(offset));
    });
}

void write(fuse_req_t request, fuse_ino_t, const char* bytes, std::size_t size, off_t offset,
           fuse_file_info* file) {
    answer(request, [&](Volume& volume, const RequestPtr& r) {
        volume.write(r, file->fh, bytes, size, static_cast<std::uint64_t>(offset));
    });
}

void flush(fuse_req_t request, fuse_ino_t, fuse_file_info* file) {
    answer(request, [&](Volume& volume, const RequestPtr& r) { volume.flush(r, file->fh); });
}

void fsync(fuse_req_t request, fuse_ino_t, int, fuse_file_info* file) {
    answer(request, [&](Volume& volume, const RequestPtr& r) { volume.sync(r, file->fh); });
}

void release(fuse_req_t request, fuse_ino_t, fuse_file_info* file) {
    answer(request, [&](Volume& volume, const RequestPtr& r) { volume.release(r, file->fh); });
}

void opendir(fuse_req_t request, fuse_ino_t number, fuse_file_info* file) {
    answer(request, [&](Volume& volume, const RequestPtr& r) { volume.openDirectory(r, number, *file); });
}

void readdir(fuse_req_t request, fuse_ino_t, std::size_t size, off_t offset, fuse_file_info* file) {
    answer(request, [&](Volume& volume, const RequestPtr& r) {
        volume.readDirectory(r, file->fh, size, static_cast<std::uint64_t>(offset));
    });
}

void releasedir(fuse_req_t request, fuse_ino_t, fuse_file_info* file) {
    answer(request, [&](Volume& volume, const RequestPtr& r) { volume.releaseDirectory(r, file->fh); });
}

void fsyncdir(fuse_req_t request, fuse_ino_t, int, fuse_file_info* file) {
    answer(request, [&](Volume& volume, const RequestPtr& r) { volume.syncDirectory(r, file->fh); });
}

void statfs(fuse_req_t request, fuse_ino_t) {
    answer(request, [&](Volume& volume, const RequestPtr& r) { volume.space(r); });
}

} // namespace

const fuse_lowlevel_ops& fuseOperations() {
    static const fuse_lowlevel_ops operations = [] {
        fuse_lowlevel_ops ops{};
        ops.init = init;
        ops.lookup = lookup;
        ops.forget = forget;
        ops.forget_multi = forgetMulti;
        ops.getattr = getattr;
        ops.setattr = setattr;
        ops.readlink = readlink;
        ops.mknod = mknod;
        ops.mkdir = mkdir;
        ops.unlink = unlink;
        ops.rmdir = rmdir;
        ops.symlink = symlink;
        ops.rename = rename;
        ops.link = link;
        ops.open = open;
        ops.create = create;
        ops.read = read;
        ops.write = write;
        ops.flush = flush;
        ops.fsync = fsync;
        ops.release = release;
        ops.opendir = opendir;
        ops.readdir = readdir;
        ops.releasedir = releasedir;
        ops.fsyncdir = fsyncdir;
        ops.statfs = statfs;
        return ops;
    }();
    return operations;
}

} // namespace ternvault::volume

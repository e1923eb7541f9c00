#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>

#define FUSE_USE_VERSION 314
#include <fuse_lowlevel.h>

namespace ternvault::volume {

/// One question of the kernel. It is answered exactly once: the first answer counts and later ones are
/// dropped, so that a result which comes after the deadline does no harm. Thread-safe.
class Request {
public:
    explicit Request(fuse_req_t request) : request_(request) {}
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;
    /// Answers EIO if nobody answered.
    ~Request() { error(EIO); }

    bool isAnswered() const { return answered_; }

    // These return whether the answer arrived: false when it came too late, or when the caller is gone.
    bool error(int code) {
        return answer([&] { return fuse_reply_err(request_, code); });
    }
    bool done() { return error(0); }
    bool entry(const fuse_entry_param& entry) {
        return answer([&] { return fuse_reply_entry(request_, &entry); });
    }
    bool attributes(const struct stat& status, double seconds) {
        return answer([&] { return fuse_reply_attr(request_, &status, seconds); });
    }
    bool created(const fuse_entry_param& entry, const fuse_file_info& file) {
        return answer([&] { return fuse_reply_create(request_, &entry, &file); });
    }
    bool opened(const fuse_file_info& file) {
        return answer([&] { return fuse_reply_open(request_, &file); });
    }
    bool written(std::size_t count) {
        return answer([&] { return fuse_reply_write(request_, count); });
    }
    bool data(const char* bytes, std::size_t count) {
        return answer([&] { return fuse_reply_buf(request_, bytes, count); });
    }
    bool link(const std::string& target) {
        return answer([&] { return fuse_reply_readlink(request_, target.c_str()); });
    }
    bool space(const struct statvfs& status) {
        return answer([&] { return fuse_reply_statfs(request_, &status); });
    }

    fuse_req_t raw() const { return request_; }

private:
    template <typename Reply>
    bool answer(Reply reply) {
        return !answered_.exchange(true) && reply() == 0;
    }

    fuse_req_t request_;
    std::atomic<bool> answered_ = false;
};

using RequestPtr = std::shared_ptr<Request>;

} // namespace ternvault::volume

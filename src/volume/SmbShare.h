#pragma once

#include "volume/DirectoryCache.h"
#include "volume/Entry.h"
#include "volume/MountUrl.h"
#include "volume/ServerAddress.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include <libsmbclient.h>
#include <sys/statvfs.h>

namespace ternvault::volume {

/// Tells other threads since when the SMB thread waits inside libsmbclient.
class CallWatch {
public:
    using Clock = std::chrono::steady_clock;

    void begin() { since_ = Clock::now().time_since_epoch().count(); }
    void end() { since_ = 0; }
    /// Zero outside a call.
    Clock::duration running() const {
        const auto since = since_.load();
        return since == 0 ? Clock::duration::zero()
                          : Clock::now().time_since_epoch() - Clock::duration(since);
    }

private:
    std::atomic<Clock::rep> since_ = 0;
};

/// Lets libsmbclient read its settings from a file of ours instead of the machine's. Before the first
/// SmbShare and any thread.
void isolateSambaSettings(const std::filesystem::path& state);

/// One connection to the share. Paths are local ones inside the share, "" is its root. Every method blocks
/// and throws std::system_error (EILSEQ for a name that the server cannot keep). One thread only.
class SmbShare {
public:
    using File = SMBCFILE*;

    /// Connects and logs in. `url` and `watch` must outlive the object. `generation` tells connections apart:
    /// a file is of use only to the connection that opened it.
    SmbShare(const ServerAddress& address, const MountUrl& url, CallWatch& watch, unsigned generation);
    ~SmbShare();
    SmbShare(const SmbShare&) = delete;
    SmbShare& operator=(const SmbShare&) = delete;

    unsigned generation() const { return generation_; }
    /// How many it has to the server.
    std::size_t connections() const { return timesContext_ ? 2 : 1; }
    /// Whether only a fresh connection helps, though this one lives.
    bool isSpoiled() const { return spoiled_; }

    /// All entries except "." and "..".
    Listing list(const std::string& directory);
    Entry stat(const std::string& path);
    /// Sizes in units of f_frsize.
    struct statvfs space();

    /// Flags as in open(2).
    File open(const std::string& path, int flags);
    void close(File file);
    /// Fewer bytes than `size` only at the end of the file.
    std::size_t read(File file, std::uint64_t offset, char* buffer, std::size_t size);
    void write(File file, std::uint64_t offset, const char* bytes, std::size_t size);
    void truncate(File file, std::uint64_t size);
    /// The whole contents of a new file.
    void createFile(const std::string& path, const std::string& contents);

    void setTimes(const std::string& path, timespec accessed, timespec modified);
    void makeDirectory(const std::string& path);
    void removeDirectory(const std::string& path);
    void unlink(const std::string& path);
    /// Replaces a file at `to`.
    void rename(const std::string& from, const std::string& to);

private:
    struct ContextEnd {
        void operator()(SMBCCTX* context) const { smbc_free_context(context, 1); }
    };
    using Context = std::unique_ptr<SMBCCTX, ContextEnd>;

    Context connect();
    std::string urlOf(const std::string& path) const;
    static void provideLogin(SMBCCTX* context, const char* server, const char* share, char* workgroup,
                             int workgroupSize, char* user, int userSize, char* password, int passwordSize);

    const MountUrl& url_;
    CallWatch& watch_;
    unsigned generation_;
    std::string base_;
    Context context_;
    /// After one refusal the library opens whatever it sets times of, for the life of the context, and a
    /// directory cannot be opened so. From then on another context sets times, which holds no files and is
    /// thrown away when it is refused.
    bool wasRefusedTimes_ = false;
    Context timesContext_;
    bool spoiled_ = false;
};

} // namespace ternvault::volume

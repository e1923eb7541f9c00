#pragma once

#include "volume/DirectoryCache.h"
#include "volume/LostWrites.h"
#include "volume/Nodes.h"
#include "volume/OverwriteJournal.h"
#include "volume/SmbWorker.h"

#include <cerrno>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <unordered_map>
#include <vector>

namespace ternvault::volume {

/// The semantics of the volume: answers the kernel's requests from what is known, or by jobs on the SMB
/// thread.
///
/// - The root's attributes and the free space are always answered from memory.
/// - Names are told apart by case; creating a name that differs from an existing one only by case fails
///   with EEXIST, so that no file is ever overwritten through another spelling.
/// - Written bytes wait in a bounded write-behind until flush or fsync, which report their fate.
/// - A lost write poisons its file, see LostWrites. So does the end of a daemon that was overwriting it, see
///   OverwriteJournal.
/// - A file whose modification time is unfinishedTime keeps it while it is written, until another one is set.
///   Whoever marks a file so before overwriting it need not fear that a part is taken for the whole.
/// - What is remembered may be old by a few seconds. Syncing a file that is open for reading only, or a
///   directory, makes what is remembered of it and of all below it true again.
/// - A file or directory that is no longer where the kernel knew it gives ESTALE, upon which the kernel looks
///   its name up anew.
/// - Modes are kept in memory for the life of the daemon; owner and group are those of its user.
///
/// Public methods: any thread, never block on the network, answer the request sooner or later.
class Volume final : public SmbWorker::Listener {
public:
    struct Hooks {
        /// Makes the kernel forget the attributes of a node.
        std::function<void(std::uint64_t number)> dropAttributes;
        /// Ends the mount.
        std::function<void()> leave;
    };

    Volume(SmbWorker& worker, OverwriteJournal& journal);
    /// Before the first request.
    void setHooks(Hooks hooks) { hooks_ = std::move(hooks); }

    void lookUp(const RequestPtr& request, std::uint64_t parent, std::string_view name);
    void forget(std::uint64_t number, std::uint64_t lookups);
    void getAttributes(const RequestPtr& request, std::uint64_t number);
    /// `changed` is a mask of FUSE_SET_ATTR_*; `file` is 0 when the change does not come through an open
    /// file.
    void setAttributes(const RequestPtr& request, std::uint64_t number, const struct stat& wanted,
                       int changed, std::uint64_t file);
    void readLink(const RequestPtr& request, std::uint64_t number);
    void space(const RequestPtr& request);

    void makeDirectory(const RequestPtr& request, std::uint64_t parent, std::string_view name, mode_t mode);
    void makeSymlink(const RequestPtr& request, std::uint64_t parent, std::string_view name,
                     const std::string& target);
    /// An empty file, not open.
    void makeFile(const RequestPtr& request, std::uint64_t parent, std::string_view name, mode_t mode);
    void unlink(const RequestPtr& request, std::uint64_t parent, std::string_view name);
    void removeDirectory(const RequestPtr& request, std::uint64_t parent, std::string_view name);
    void rename(const RequestPtr& request, std::uint64_t parent, std::string_view name,
                std::uint64_t newParent, std::string_view newName, unsigned flags);

    void create(const RequestPtr& request, std::uint64_t parent, std::string_view name, mode_t mode,
                fuse_file_info file);
    void open(const RequestPtr& request, std::uint64_t number, fuse_file_info file);
    void read(const RequestPtr& request, std::uint64_t file, std::size_t size, std::uint64_t offset);
    void write(const RequestPtr& request, std::uint64_t file, const char* bytes, std::size_t size,
               std::uint64_t offset);
    /// Answers when everything written through the handle is on the server, or with the reason why it is not.
    void flush(const RequestPtr& request, std::uint64_t file);
    void sync(const RequestPtr& request, std::uint64_t file);
    void release(const RequestPtr& request, std::uint64_t file);

    void openDirectory(const RequestPtr& request, std::uint64_t number, fuse_file_info file);
    void readDirectory(const RequestPtr& request, std::uint64_t file, std::size_t size, std::uint64_t offset);
    void syncDirectory(const RequestPtr& request, std::uint64_t file);
    void releaseDirectory(const RequestPtr& request, std::uint64_t file);

    void refresh(SmbShare& share) override;
    void connectionLost() override;
    void serverGone() override;

private:
    using Lock = std::unique_lock<std::mutex>;
    using Time = DirectoryCache::Clock::time_point;

    struct OpenDirectory {
        NodePtr node;
        struct Item {
            std::string name;
            Entry::Kind kind;
            std::uint64_t number;
        };
        std::vector<Item> items;
    };

    // Names and attributes: VolumeAttributes.cpp
    std::string pathOf(std::uint64_t parent, std::string_view name);
    std::optional<std::string> pathIfThere(const Node& node);
    std::string livePath(const Node& node);
    const Entry* knownEntry(const std::string& path, Time now);
    void ensureListing(SmbShare& share, const std::string& directory, Time now);
    Entry fetchEntry(SmbShare& share, const std::string& path);
    Entry fetchEntry(SmbShare& share, const Node& node);
    /// What the server answers to a question about the node's path. Where it knows no such path, what was
    /// remembered is wrong, is forgotten, and ESTALE is thrown.
    template <typename Question>
    auto askAbout(const Node& node, const std::string& path, Question question) {
        try {
            return question();
        } catch (const std::system_error& error) {
            if (error.code().value() != ENOENT)
                throw;
        }
        const Lock lock(mutex_);
        cache_.invalidateParent(path);
        hooks_.dropAttributes(node.number);
        throw std::system_error(ESTALE, std::generic_category());
    }
    void classify(SmbShare& share, const std::string& path, Entry& entry);
    void rememberMode(const std::string& path, mode_t mode);
    struct stat toStat(const Node& node, const Entry& entry);
    void answerEntry(const RequestPtr& request, const std::string& path, const Entry& entry);
    void refusePoisoned(const Node& node, const HandlePtr& through);
    void setSize(SmbShare& share, const NodePtr& node, const HandlePtr& through, std::uint64_t size);
    void setTimes(SmbShare& share, const NodePtr& node, const struct stat& wanted, int changed);

    void refreshSpace(SmbShare& share);

    // Directories: VolumeDirectories.cpp
    void added(const std::string& path, const Entry& entry, mode_t mode);
    void removed(const std::string& path);
    void touchParent(const std::string& path);
    void refuseOtherSpelling(SmbShare& share, const std::string& from, const std::string& to);
    void answerItems(const RequestPtr& request, const OpenDirectory& directory, std::size_t size,
                     std::uint64_t offset);

    // Files: VolumeFiles.cpp
    HandlePtr handleOf(std::uint64_t file);
    std::uint64_t addHandle(const SmbShare& share, const NodePtr& node, SmbShare::File file, int flags,
                            Entry entry);
    bool isLive(const Handle& handle) const {
        return handle.file && handle.generation == worker_.generation();
    }
    SmbShare::File createFile(SmbShare& share, const std::string& path, int flags);
    void noteChange(Node& node);
    void queueDrain(const HandlePtr& handle);
    void drain(SmbShare& share, const HandlePtr& handle);
    HandlePtr nextToSend(const HandlePtr& handle) const;
    void drainNode(SmbShare& share, const NodePtr& node);
    void admitStalled(Handle& handle);
    void closeHandle(SmbShare& share, const HandlePtr& handle);
    void loseWrites(Node& node, int error);
    void ageLostFiles(SmbShare& share);
    void prepareForWriting(SmbShare& share, const std::string& path);

    SmbWorker& worker_;
    /// SMB thread only.
    OverwriteJournal& journal_;
    Hooks hooks_;

    std::mutex mutex_;
    Nodes nodes_;
    DirectoryCache cache_;
    PathTable<mode_t> modes_;
    LostWrites lost_;
    Entry root_;
    struct statvfs space_ {};
    Time spaceAsked_;
    std::uint64_t lastFile_ = 0;
    std::unordered_map<std::uint64_t, HandlePtr> handles_;
    std::unordered_map<std::uint64_t, std::shared_ptr<OpenDirectory>> directories_;
};

} // namespace ternvault::volume

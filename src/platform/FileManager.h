#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace ternvault {

/// What stands at the root of a volume: two different values mean that something was mounted or unmounted
/// there in between. From statx(2).
struct VolumeIdentity {
    dev_t device = 0;
    std::uint64_t mountId = 0;
    /// While it lives, the system gives these numbers to nothing else.
    std::shared_ptr<const void> pin;

    bool operator==(const VolumeIdentity& other) const {
        return device == other.device && mountId == other.mountId;
    }
};

/// What stands at a path, links not followed.
enum class EntryKind {
    none,
    link,
    /// A file, folder or other entry of the volume.
    onVolume,
    /// An entry of another file system that is mounted there.
    elsewhere,
};

/// File operations whose behaviour on a volume matters. Failures are std::system_error. Any thread.
class FileManager {
public:
    virtual ~FileManager() = default;

    /// Whether an entry exists; symbolic links are followed. Never waits for the program behind a volume.
    virtual bool exists(const std::filesystem::path& path) const = 0;
    virtual bool isDirectory(const std::filesystem::path& path) const = 0;
    /// Creates the folder and its missing parents. Refuses with ENOENT to create an entry directly under the
    /// volumes root: only the mounter does that.
    virtual void createDirectories(const std::filesystem::path& path) = 0;
    /// Writes the file in place, which is created or cut first: a reader may see a part of it.
    virtual void write(const std::filesystem::path& file, std::string_view content) = 0;
    /// Removes a file, or a folder with all that it holds; throws when there is none.
    virtual void remove(const std::filesystem::path& path) = 0;
    /// What the system remembers of the item, and of all below it, is asked of its server anew. Best effort;
    /// nothing happens where there is no such item. May wait for the server.
    virtual void revalidate(const std::filesystem::path& item) const = 0;
    /// Identity of what stands at `root`; nothing when no entry exists there, or only the folder that the
    /// mounter made for a volume which is not mounted now.
    virtual std::optional<VolumeIdentity> volumeIdentity(const std::filesystem::path& root) const = 0;
    /// What stands at `item`, a relative path below the volume that stood at the root; "." is that itself. A
    /// link among the folders that lead there counts as the item. May wait for the server.
    virtual EntryKind kindOnVolume(const VolumeIdentity& volume, const std::filesystem::path& item) const = 0;
};

} // namespace ternvault

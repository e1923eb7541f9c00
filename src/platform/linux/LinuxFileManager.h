#pragma once

#include "platform/FileManager.h"

#include <functional>

#include <sys/stat.h>

namespace ternvault {

/// File operations over statx(2). The questions (`exists`, `isDirectory`, `volumeIdentity`) take what the
/// kernel knows already, so that they return at once for the root of a volume whose daemon hangs. An entry of
/// the volumes root that is no volume does not exist for them: a directory that nobody may list, which is
/// what mounting makes, and what `NoVolumeTest` knows. Below a volume's root the kernel may have to ask the
/// daemon; what cannot be asked does not exist.
class LinuxFileManager final : public FileManager {
public:
    /// Whether that entry of the volumes root is known to be no volume, not yet or not any more. Any thread;
    /// must not wait.
    using NoVolumeTest = std::function<bool(const std::filesystem::path& entry)>;

    /// `volumesRoot`: absolute.
    explicit LinuxFileManager(
        const std::filesystem::path& volumesRoot,
        NoVolumeTest isNoVolume = [](const std::filesystem::path&) { return false; });

    bool exists(const std::filesystem::path& path) const override;
    bool isDirectory(const std::filesystem::path& path) const override;
    /// Refuses with ENOENT to create the volumes root too.
    void createDirectories(const std::filesystem::path& path) override;
    void write(const std::filesystem::path& file, std::string_view content) override;
    /// Removes a symbolic link, never what it points to.
    void remove(const std::filesystem::path& path) override;
    void revalidate(const std::filesystem::path& item) const override;
    std::optional<VolumeIdentity> volumeIdentity(const std::filesystem::path& root) const override;
    EntryKind kindOnVolume(const VolumeIdentity& volume, const std::filesystem::path& item) const override;

private:
    void createDirectory(const std::filesystem::path& path) const;
    bool isVolumesRoot(const struct statx& directory) const;
    bool isBelowVolumesRoot(const std::filesystem::path& path) const;
    std::optional<struct statx> statusOf(const std::filesystem::path& path) const;

    std::filesystem::path volumesRoot_;
    NoVolumeTest isNoVolume_;
};

} // namespace ternvault

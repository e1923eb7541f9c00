#pragma once

#include "platform/FileManager.h"

#include <QString>

#include <filesystem>

namespace ternvault {

/// The name asked for when mounting, and the one ejected when no volume is known.
inline constexpr QLatin1String productVolumeName("Tern Vault");
/// The share mounted when none is selected and none was listed.
inline constexpr QLatin1String defaultShareName("MOSSBOX1");
/// The volume's name in the product's earlier versions.
inline constexpr QLatin1String legacyVolumeName("MOSS BOX");

/// The one place that knows where a volume of a given name stands.
class VolumeTable {
public:
    /// `volumesRoot`: absolute, without a trailing slash.
    VolumeTable(const FileManager& files, const std::filesystem::path& volumesRoot);

    /// Whether an entry of that name is there. Never for a name that leads elsewhere than to an entry of
    /// the root ("..", "a/b"), whoever it comes from. Any thread; never waits for a volume's server.
    bool hasVolume(const QString& volumeName) const;

    /// The root, one slash and the name, joined as text: a name that begins with a slash stays below.
    std::filesystem::path mountPoint(const QString& volumeName) const;
    /// The same as the text that users see.
    QString mountPointText(const QString& volumeName) const;

private:
    const FileManager& files_;
    QString root_;
};

} // namespace ternvault

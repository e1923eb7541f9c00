#pragma once

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
    explicit VolumeTable(const std::filesystem::path& volumesRoot);

    /// The root, one slash and the name, joined as text: a name that begins with a slash stays below the
    /// root.
    std::filesystem::path mountPoint(const QString& volumeName) const;
    /// The same as the text that users see.
    QString mountPointText(const QString& volumeName) const;

private:
    QString root_;
};

} // namespace ternvault

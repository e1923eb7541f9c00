#pragma once

#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace ternvault {

/// A disk of the PC as its agent reports it; its identity is `name`.
struct ServerDisk {
    QString name;
    /// The disk's path on the PC.
    QString path;
    std::int64_t sizeBytes = 0;
    /// Capacity as a readable text, formatted by the agent.
    QString sizeHuman;
    QString model;
    /// Holds the PC's operating system.
    bool isSystem = false;
    std::vector<QString> mountpoints;
    /// The SMB share that exposes the disk, if one does.
    std::optional<QString> shareName;
    /// Can take the user's files.
    bool available = false;

    bool operator==(const ServerDisk&) const = default;
};

/// An SMB share of the PC as its agent reports it; its identity is `name`.
struct ServerShare {
    QString name;
    /// The shared directory on the PC.
    QString path;
    std::int64_t freeBytes = 0;
    std::int64_t totalBytes = 0;
    /// The share's address as the agent reports it; not used to mount.
    QString smbUrl;

    bool operator==(const ServerShare&) const = default;
};

/// How the setup gets its SMB account.
enum class AuthMode { create, login };

} // namespace ternvault

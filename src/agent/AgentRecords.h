#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace ternvault {

// What the PC's agent tells. The fields are named like the keys of its JSON.

/// A disk of the PC.
struct ServerDisk {
    QString name;
    /// The disk's path on the PC.
    QString path;
    std::int64_t size_bytes = 0;
    /// Capacity as a readable text, formatted by the agent.
    QString size_human;
    QString model;
    /// Holds the PC's operating system.
    bool is_system = false;
    std::vector<QString> mountpoints;
    /// The SMB share that exposes the disk, if one does.
    std::optional<QString> share_name;
    /// Can take the user's files.
    bool available = false;

    /// What a list on screen knows the disk by.
    const QString& id() const { return name; }
    bool operator==(const ServerDisk&) const = default;
};

/// An SMB share of the PC.
struct ServerShare {
    QString name;
    /// The shared directory on the PC.
    QString path;
    std::int64_t free_bytes = 0;
    std::int64_t total_bytes = 0;
    /// The share's address as the agent reports it; not used to mount.
    QString smb_url;

    /// What a list on screen knows the share by.
    const QString& id() const { return name; }
    bool operator==(const ServerShare&) const = default;
};

/// The agent's whole description of its PC, in the agent's order.
struct DisksResponse {
    std::vector<ServerDisk> disks;
    std::vector<ServerShare> shares;

    bool operator==(const DisksResponse&) const = default;
};

/// Every field counts, in the order of its declaration.
std::size_t qHash(const ServerDisk& disk, std::size_t seed = 0);
std::size_t qHash(const ServerShare& share, std::size_t seed = 0);
std::size_t qHash(const DisksResponse& response, std::size_t seed = 0);

/// Reads the body of the agent's answer. Strict: every key but "share_name" must be there with its type,
/// unknown keys are ignored, and one bad element fails the whole. Throws DecodingError.
DisksResponse decodeDisksResponse(const QByteArray& json);
/// The same document again, on one line and in ASCII, so that no text in it can drive a terminal; an absent
/// "share_name" is left out.
QByteArray encodeDisksResponse(const DisksResponse& response);

} // namespace ternvault

#include "agent/AgentRecords.h"

#include "agent/JsonDecoding.h"

#include <QHashFunctions>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace ternvault {

namespace {

// One name for each key, so that reading and writing cannot differ.
constexpr QLatin1String name("name"), path("path"), sizeBytes("size_bytes"), sizeHuman("size_human"),
    model("model"), isSystem("is_system"), mountpoints("mountpoints"), shareName("share_name"),
    available("available"), freeBytes("free_bytes"), totalBytes("total_bytes"), smbUrl("smb_url"),
    disks("disks"), shares("shares");

ServerDisk decodeDisk(const ObjectDecoder& object) {
    return {object.string(name),         object.string(path),
            object.integer(sizeBytes),   object.string(sizeHuman),
            object.string(model),        object.boolean(isSystem),
            object.strings(mountpoints), object.optionalString(shareName),
            object.boolean(available)};
}

ServerShare decodeShare(const ObjectDecoder& object) {
    return {object.string(name), object.string(path), object.integer(freeBytes), object.integer(totalBytes),
            object.string(smbUrl)};
}

QJsonObject encode(const ServerDisk& disk) {
    QJsonArray mounted;
    for (const QString& mountpoint : disk.mountpoints)
        mounted.append(mountpoint);
    QJsonObject object{{name, disk.name},
                       {path, disk.path},
                       {sizeBytes, static_cast<qint64>(disk.size_bytes)},
                       {sizeHuman, disk.size_human},
                       {model, disk.model},
                       {isSystem, disk.is_system},
                       {mountpoints, mounted},
                       {available, disk.available}};
    if (disk.share_name)
        object.insert(shareName, *disk.share_name);
    return object;
}

QJsonObject encode(const ServerShare& share) {
    return {{name, share.name},
            {path, share.path},
            {freeBytes, static_cast<qint64>(share.free_bytes)},
            {totalBytes, static_cast<qint64>(share.total_bytes)},
            {smbUrl, share.smb_url}};
}

template <typename Record>
QJsonArray encodeEach(const std::vector<Record>& records) {
    QJsonArray array;
    for (const Record& record : records)
        array.append(encode(record));
    return array;
}

} // namespace

std::size_t qHash(const ServerDisk& disk, std::size_t seed) {
    const std::size_t mounted = qHashRange(disk.mountpoints.begin(), disk.mountpoints.end());
    return qHashMulti(seed, disk.name, disk.path, disk.size_bytes, disk.size_human, disk.model,
                      disk.is_system, mounted, disk.share_name.has_value(),
                      disk.share_name.value_or(QString()), disk.available);
}

std::size_t qHash(const ServerShare& share, std::size_t seed) {
    return qHashMulti(seed, share.name, share.path, share.free_bytes, share.total_bytes, share.smb_url);
}

std::size_t qHash(const DisksResponse& response, std::size_t seed) {
    return qHashRange(response.shares.begin(), response.shares.end(),
                      qHashRange(response.disks.begin(), response.disks.end(), seed));
}

DisksResponse decodeDisksResponse(const QByteArray& json) {
    const ObjectDecoder document = ObjectDecoder::ofDocument(json);
    return {document.objects(disks, decodeDisk), document.objects(shares, decodeShare)};
}

QByteArray encodeDisksResponse(const DisksResponse& response) {
    return QJsonDocument(
               QJsonObject{{disks, encodeEach(response.disks)}, {shares, encodeEach(response.shares)}})
        .toJson(QJsonDocument::Compact);
}

} // namespace ternvault

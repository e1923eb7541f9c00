#include "agent/AgentRecords.h"

#include "agent/JsonDecoding.h"

#include <QHashFunctions>

#include <nlohmann/json.hpp>

namespace ternvault {

namespace {

using Json = nlohmann::json;

// One name for each key, so that reading and writing cannot differ.
constexpr std::string_view name("name"), path("path"), sizeBytes("size_bytes"), sizeHuman("size_human"),
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

Json encode(const ServerDisk& disk) {
    Json mounted = Json::array();
    for (const QString& mountpoint : disk.mountpoints)
        mounted.push_back(mountpoint.toStdString());
    Json object{{name, disk.name.toStdString()},
                {path, disk.path.toStdString()},
                {sizeBytes, disk.size_bytes},
                {sizeHuman, disk.size_human.toStdString()},
                {model, disk.model.toStdString()},
                {isSystem, disk.is_system},
                {mountpoints, mounted},
                {available, disk.available}};
    if (disk.share_name)
        object[shareName] = disk.share_name->toStdString();
    return object;
}

Json encode(const ServerShare& share) {
    return {{name, share.name.toStdString()},
            {path, share.path.toStdString()},
            {freeBytes, share.free_bytes},
            {totalBytes, share.total_bytes},
            {smbUrl, share.smb_url.toStdString()}};
}

template <typename Record>
Json encodeEach(const std::vector<Record>& records) {
    Json array = Json::array();
    for (const Record& record : records)
        array.push_back(encode(record));
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
    const Json document{{disks, encodeEach(response.disks)}, {shares, encodeEach(response.shares)}};
    constexpr bool asAscii = true;
    return QByteArray::fromStdString(document.dump(-1, ' ', asAscii));
}

} // namespace ternvault

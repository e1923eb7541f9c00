#include "server/Disks.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>

#include <fnmatch.h>

namespace ternvault::server {

namespace {

using Json = nlohmann::json;

/// A device and what is made of it.
struct Device {
    std::string name;
    std::string path;
    std::string type;
    std::string number;
    std::string model;
    std::int64_t size = 0;
    std::vector<Device> children;
};

std::string textOrNothing(const Json& value) {
    return value.is_null() ? "" : value.get<std::string>();
}

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(' ');
    return first == text.npos ? "" : text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

std::vector<Device> readDevices(const Json& list) {
    std::vector<Device> devices;
    for (const Json& object : list) {
        Device device{object.at("name"),
                      object.at("path"),
                      object.at("type"),
                      object.at("maj:min"),
                      trimmed(textOrNothing(object.at("model"))),
                      object.at("size"),
                      {}};
        if (object.contains("children"))
            device.children = readDevices(object["children"]);
        devices.push_back(std::move(device));
    }
    return devices;
}

std::vector<Device> parseDevices(std::string_view lsblkOutput) {
    try {
        return readDevices(Json::parse(lsblkOutput).at("blockdevices"));
    } catch (const Json::exception& error) {
        throw DisksError(error.what());
    }
}

bool isDisk(const Device& device) {
    constexpr std::array others{"zram*", "ram*", "fd*", "mmcblk*boot*", "mmcblk*rpmb"};
    return device.type == "disk" && device.size > 0 &&
           std::ranges::none_of(others, [&device](const char* pattern) {
               return ::fnmatch(pattern, device.name.c_str(), 0) == 0;
           });
}

bool isSystemPlace(const std::string& point) {
    constexpr std::array places{"/", "/usr", "/var", "/boot", "/boot/*", "/efi"};
    return std::ranges::any_of(
        places, [&point](const char* pattern) { return ::fnmatch(pattern, point.c_str(), 0) == 0; });
}

/// By number, or by path where a file system has numbers of its own (btrfs).
bool carries(const Device& device, const Mount& mount) {
    return device.number == mount.number || device.path == mount.source ||
           std::ranges::any_of(device.children,
                               [&mount](const Device& child) { return carries(child, mount); });
}

std::vector<std::string> mountpointsOf(const Device& device, const std::vector<Mount>& mounts) {
    std::vector<std::string> found;
    for (const Mount& mount : mounts)
        if (carries(device, mount) && std::ranges::find(found, mount.point) == found.end())
            found.push_back(mount.point);
    return found;
}

void attachShares(Disk& disk, const Device& device, const std::vector<Mount>& mounts,
                  const std::vector<Share>& shares) {
    bool takesFiles = false;
    for (const Share& share : shares) {
        const Mount* mount = mountOf(share.path, mounts);
        if (mount == nullptr || !carries(device, *mount))
            continue;
        const bool isWritable = share.writable && !mount->readOnly;
        if (!disk.shareName || (isWritable && !takesFiles))
            disk.shareName = share.name;
        takesFiles = takesFiles || isWritable;
    }
    disk.available = takesFiles && !disk.isSystem;
}

} // namespace

std::vector<Disk> describeDisks(std::string_view lsblkOutput, const std::vector<Mount>& mounts,
                                const std::vector<Share>& shares) {
    std::vector<Disk> disks;
    for (const Device& device : parseDevices(lsblkOutput)) {
        if (!isDisk(device))
            continue;
        Disk disk;
        disk.name = device.name;
        disk.path = device.path;
        disk.sizeBytes = device.size;
        disk.model = device.model;
        disk.mountpoints = mountpointsOf(device, mounts);
        disk.isSystem = std::ranges::any_of(disk.mountpoints, isSystemPlace);
        attachShares(disk, device, mounts, shares);
        disks.push_back(std::move(disk));
    }
    return disks;
}

std::string humanSize(std::int64_t bytes) {
    constexpr std::array units{"kB", "MB", "GB", "TB", "PB", "EB"};
    if (bytes < 1000)
        return std::to_string(bytes) + " B";
    // In tenths of the unit, rounded.
    double tenths = static_cast<double>(bytes) / 100;
    std::size_t unit = 0;
    for (; std::round(tenths) >= 10000 && unit + 1 < units.size(); ++unit)
        tenths /= 1000;
    const auto rounded = std::lround(tenths);
    return std::to_string(rounded / 10) + '.' + std::to_string(rounded % 10) + ' ' + units[unit];
}

} // namespace ternvault::server

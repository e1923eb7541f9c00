#include "server/Disks.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>

#include <fnmatch.h>

namespace ternvault::server {

namespace {

using Json = nlohmann::json;

/// A place where a device's file system, or the part `root` of it, is mounted.
struct Place {
    std::string point;
    std::string root;
};

/// A device and what is made of it.
struct Device {
    std::string name;
    std::string path;
    std::string type;
    std::string number;
    std::string model;
    std::int64_t size = 0;
    std::vector<Place> places;
    std::vector<Device> children;
};

std::string textOrNothing(const Json& value) {
    return value.is_null() ? "" : value.get<std::string>();
}

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(' ');
    return first == text.npos ? "" : text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

/// Swap space has a mount point "[SWAP]" and no root; it is no place.
std::vector<Place> readPlaces(const Json& points, const Json& roots) {
    std::vector<Place> places;
    for (std::size_t i = 0; i < points.size(); ++i)
        if (std::string point = textOrNothing(points[i]); point.starts_with('/'))
            places.push_back({std::move(point), i < roots.size() ? textOrNothing(roots[i]) : ""});
    return places;
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
                      {},
                      {}};
        device.places = readPlaces(object.at("mountpoints"), object.at("fsroots"));
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

/// Whether `place` shows what `other` shows at the same path anyway: hardened services see such mounts in
/// numbers.
bool isRedundant(const Place& place, const Place& other) {
    const auto below = [](const std::string& folder) { return folder == "/" ? "" : folder; };
    return place.point != other.point && isWithin(place.point, other.point) &&
           place.root == below(other.root) + place.point.substr(below(other.point).size());
}

bool isSystemPlace(const std::string& point) {
    constexpr std::array places{"/", "/usr", "/var", "/boot", "/boot/*", "/efi"};
    return std::ranges::any_of(
        places, [&point](const char* pattern) { return ::fnmatch(pattern, point.c_str(), 0) == 0; });
}

void collectMountpoints(const Device& device, std::vector<std::string>& found) {
    for (const Place& place : device.places) {
        const bool isShownElsewhere = std::ranges::any_of(
            device.places, [&place](const Place& other) { return isRedundant(place, other); });
        if (!isShownElsewhere && std::ranges::find(found, place.point) == found.end())
            found.push_back(place.point);
    }
    for (const Device& child : device.children)
        collectMountpoints(child, found);
}

/// By number, or by path where a file system has numbers of its own (btrfs).
bool carries(const Device& device, const Mount& mount) {
    return device.number == mount.number || device.path == mount.source ||
           std::ranges::any_of(device.children,
                               [&mount](const Device& child) { return carries(child, mount); });
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
        collectMountpoints(device, disk.mountpoints);
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

#pragma once

#include "server/Mounts.h"
#include "server/Shares.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace ternvault::server {

/// A disk that one can take in hand. What is made of it (partitions, volumes, arrays, encrypted devices)
/// counts as part of it; what several disks carry together, a RAID array for instance, as part of each.
struct Disk {
    std::string name;
    std::string path;
    std::int64_t sizeBytes = 0;
    std::string model;
    /// Carries a part of the operating system: "/", "/usr", "/var" or what the boot loader needs.
    bool isSystem = false;
    std::vector<std::string> mountpoints;
    /// A share whose folder lies on this disk, a writable one if there is one.
    std::optional<std::string> shareName;
    /// Not the system's, and a share lets clients write to a file system on it that is mounted for writing.
    bool available = false;

    bool operator==(const Disk&) const = default;
};

class DisksError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The disks in lsblk's JSON, in its order, with the places where `mounts` has what is on them. `shares` are
/// those whose folder exists, with paths free of symbolic links. Loop devices, memory disks, optical and
/// empty drives are no disks. Throws DisksError when the text is not what the configuration's command prints
/// by default.
std::vector<Disk> describeDisks(std::string_view lsblkOutput, const std::vector<Mount>& mounts,
                                const std::vector<Share>& shares);

/// As in "1.8 TB": powers of 1000, as disks are sold.
std::string humanSize(std::int64_t bytes);

} // namespace ternvault::server

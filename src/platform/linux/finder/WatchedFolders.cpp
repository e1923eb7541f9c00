#include "platform/linux/finder/WatchedFolders.h"

#include <charconv>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace ternvault::finder {

namespace fs = std::filesystem;

namespace {

struct Watch {
    unsigned long long inode = 0;
    dev_t device = 0;
};

/// The hexadecimal number behind ` <key>:`.
std::optional<unsigned long long> field(std::string_view line, std::string_view key) {
    const std::size_t at = line.find(key);
    if (at == std::string_view::npos)
        return std::nullopt;
    line.remove_prefix(at + key.size());
    unsigned long long number = 0;
    const auto end = std::from_chars(line.data(), line.data() + line.size(), number, 16).ptr;
    return end != line.data() ? std::optional(number) : std::nullopt;
}

/// A line of /proc/PID/fdinfo/FD: "inotify wd:1 ino:a72a86 sdev:fe00000 mask:…", where devices are numbered
/// as the kernel does inside, with twenty bits for the minor number.
std::optional<Watch> watchIn(std::string_view line) {
    constexpr unsigned minorBits = 20;
    if (!line.starts_with("inotify "))
        return std::nullopt;
    const auto inode = field(line, " ino:");
    const auto device = field(line, " sdev:");
    if (!inode || !device)
        return std::nullopt;
    return Watch{*inode, makedev(static_cast<unsigned>(*device >> minorBits),
                                 static_cast<unsigned>(*device & ((1U << minorBits) - 1)))};
}

bool isWatchedBy(const fs::path& descriptorInfo, const Watch& wanted) {
    std::ifstream info(descriptorInfo);
    for (std::string line; std::getline(info, line);) {
        const std::optional<Watch> watch = watchIn(line);
        if (watch && watch->inode == wanted.inode && watch->device == wanted.device)
            return true;
    }
    return false;
}

/// Without asking the server of a volume, which may not answer.
std::optional<Watch> watchOf(const fs::path& folder) {
    struct statx status {};
    if (::statx(AT_FDCWD, folder.c_str(), AT_STATX_DONT_SYNC, STATX_TYPE | STATX_INO, &status) != 0 ||
        !S_ISDIR(status.stx_mode))
        return std::nullopt;
    return Watch{status.stx_ino, makedev(status.stx_dev_major, status.stx_dev_minor)};
}

} // namespace

bool isFolder(const fs::path& path) {
    return watchOf(path).has_value();
}

bool isWatched(const fs::path& folder, pid_t process) {
    const std::optional<Watch> wanted = watchOf(folder);
    if (!wanted)
        return false;
    // The process may end meanwhile.
    std::error_code gone;
    fs::directory_iterator descriptor("/proc/" + std::to_string(process) + "/fdinfo", gone);
    for (; !gone && descriptor != fs::directory_iterator(); descriptor.increment(gone)) {
        if (isWatchedBy(*descriptor, *wanted))
            return true;
    }
    return false;
}

} // namespace ternvault::finder

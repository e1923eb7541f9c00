#include "volume/MountDirectory.h"

#include "platform/linux/programs/MountPoints.h"
#include "volume/MountFailure.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <system_error>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ternvault::volume {
namespace {

namespace fs = std::filesystem;

constexpr mode_t closed = 0;

/// A path to what the descriptor stands for, also while a mount covers it.
fs::path pathOf(const FileDescriptor& directory) {
    return "/proc/self/fd/" + std::to_string(directory.get());
}

/// In a directory that nobody may list. Its owner lists it for a moment, in which still nothing can be put
/// there.
std::vector<std::string> namesIn(const fs::path& directory) {
    struct stat before {};
    if (::stat(directory.c_str(), &before) != 0)
        return {};
    ::chmod(directory.c_str(), before.st_mode | S_IRUSR);
    DIR* stream = ::opendir(directory.c_str());
    const int error = errno;
    ::chmod(directory.c_str(), before.st_mode);
    if (!stream)
        throw fs::filesystem_error("opendir", directory, {error, std::generic_category()});
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir(stream))
        names.emplace_back(entry->d_name);
    ::closedir(stream);
    std::erase_if(names, [](const std::string& name) { return name == "." || name == ".."; });
    std::ranges::sort(names);
    return names;
}

/// One line, of a length for people.
std::string listed(const std::vector<std::string>& names) {
    constexpr std::size_t shownAtMost = 5;
    std::string text;
    for (std::size_t i = 0; i < std::min(names.size(), shownAtMost); ++i)
        text += (i == 0 ? "" : ", ") + names[i];
    if (names.size() > shownAtMost)
        text += " and " + std::to_string(names.size() - shownAtMost) + " more";
    std::ranges::replace_if(
        text, [](unsigned char c) { return c < ' '; }, '?');
    return text;
}

MountFailure localFiles(const fs::path& mountPoint, const std::vector<std::string>& names) {
    const std::string path = mountPoint.string();
    return MountFailure("Files lie on this computer in " + path +
                        ", where the volume belongs: " + listed(names) +
                        ". Make the folder accessible (chmod u+rwx), move them away, and mount again.");
}

/// Removes what is left of an earlier mount.
void makeRoom(const MountOrder& order) {
    const auto& path = order.mountPoint;
    const bool isOurs = isPlaceholder(path) || readMountRecord(order.state, path);
    removeMountPoint(order.state, path);
    if (!hasEntry(path))
        return;
    if (!isOurs)
        throw MountFailure("There is already another entry named “" + order.url.share +
                           "” where volumes are mounted.");
    // Its mode may be changed to get at the files; the record goes on telling that it is no volume.
    writeMountRecord(order.state, {path, {}, {}});
    throw localFiles(path, namesIn(path));
}

} // namespace

MountDirectory::MountDirectory(const MountOrder& order) : order_(order) {
    const auto& path = order.mountPoint;
    makeRoom(order);
    writeMountRecord(order.state, {path, ProcessIdentity::of(::getppid()), ProcessIdentity::of(::getpid())});
    if (::mkdir(path.c_str(), closed) != 0) {
        const std::error_code reason(errno, std::generic_category());
        removeMountRecord(order.state, path);
        throw fs::filesystem_error("mkdir", path, reason);
    }
    descriptor_ = FileDescriptor(::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

MountDirectory::~MountDirectory() {
    try {
        removeMountPoint(order_.state, order_.mountPoint);
    } catch (const std::system_error&) {
        // The keeper tries again.
    }
}

void MountDirectory::open() const {
    if (::geteuid() != 0)
        ::chmod(pathOf(descriptor_).c_str(), S_IWUSR | S_IXUSR);
}

void MountDirectory::close() const {
    const fs::path directory = pathOf(descriptor_);
    ::chmod(directory.c_str(), closed);
    if (const auto names = namesIn(directory); !names.empty())
        throw localFiles(order_.mountPoint, names);
}

} // namespace ternvault::volume

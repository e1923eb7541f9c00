#include "transfer/Counterparts.h"

#include "base/FileDescriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <system_error>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace ternvault {

namespace {

using Visitor = std::function<void(const Counterparts&)>;

bool isDots(std::string_view name) {
    return name == "." || name == "..";
}

mode_t typeOf(const EntryAt& entry) {
    struct stat status {};
    const int result = ::fstatat(entry.folder, entry.name, &status, AT_SYMLINK_NOFOLLOW);
    return result == 0 ? status.st_mode & S_IFMT : 0;
}

/// What keeps us from a folder that rsync cannot get at either.
bool isNoFolder(int error) {
    constexpr std::array errors{ENOENT, ENOTDIR, ELOOP, EACCES, EILSEQ, ENAMETOOLONG, EIO};
    return std::ranges::find(errors, error) != errors.end();
}

/// None where there is no folder, or none that can be read.
FileDescriptor openFolder(const EntryAt& entry, int flags) {
    FileDescriptor folder(::openat(entry.folder, entry.name, O_RDONLY | O_DIRECTORY | O_CLOEXEC | flags));
    if (!folder && !isNoFolder(errno))
        throw std::system_error(errno, std::generic_category(), entry.name);
    return folder;
}

void visitFolder(FileDescriptor source, const FileDescriptor& destination, const Visitor& visit) {
    if (!source || !destination)
        return;
    const int folder = source.get();
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(::fdopendir(folder), ::closedir);
    if (listing == nullptr)
        throw std::system_error(errno, std::generic_category());
    source.release();
    errno = 0;
    while (const dirent* const entry = ::readdir(listing.get())) {
        const char* const name = entry->d_name;
        if (!isDots(name) && !isExcludedName(name)) {
            const EntryAt here{folder, name};
            const EntryAt there{destination.get(), name};
            const mode_t type = entry->d_type == DT_UNKNOWN ? typeOf(here) : DTTOIF(entry->d_type);
            visit({here, there, type});
            if (S_ISDIR(type))
                visitFolder(openFolder(here, O_NOFOLLOW), openFolder(there, O_NOFOLLOW), visit);
        }
        errno = 0;
    }
    if (errno != 0)
        throw std::system_error(errno, std::generic_category());
}

} // namespace

bool isExcludedName(std::string_view name) {
    return name == ".DS_Store" || name.starts_with("._") || name == "lost+found";
}

void visitCounterparts(const std::filesystem::path& from, const std::filesystem::path& to, bool isDirectory,
                       const Visitor& visit) {
    const EntryAt source{AT_FDCWD, from.c_str()};
    const EntryAt destination{AT_FDCWD, to.c_str()};
    if (isDirectory)
        visitFolder(openFolder(source, 0), openFolder(destination, O_NOFOLLOW), visit);
    else if (!isExcludedName(from.filename().native()))
        visit({source, destination, typeOf(source)});
}

} // namespace ternvault

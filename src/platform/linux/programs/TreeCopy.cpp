#include "platform/linux/programs/TreeCopy.h"

#include "platform/linux/programs/FileCopy.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace ternvault {

namespace fs = std::filesystem;

namespace {

struct stat statusOf(int folder, const fs::path& name, const fs::path& path) {
    struct stat status {};
    if (::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        throw std::system_error(errno, std::generic_category(), path.native());
    return status;
}

/// Makes the folder, or finds one there; a link to one is none.
FileDescriptor openFolder(const CopyPlace& to) {
    const int folder = to.folder.get();
    const fs::path name = to.name();
    if (::mkdirat(folder, name.c_str(), 0700) != 0 &&
        (errno != EEXIST || !S_ISDIR(statusOf(folder, name, to.path).st_mode)))
        throw std::system_error(errno, std::generic_category(), to.path.native());
    FileDescriptor opened(::openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!opened)
        throw std::system_error(errno, std::generic_category(), to.path.native());
    return opened;
}

std::vector<fs::path> namesIn(const fs::path& folder) {
    std::vector<fs::path> names;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error); !error && entry != fs::directory_iterator();
         entry.increment(error))
        names.push_back(entry->path().filename());
    if (error)
        throw std::system_error(error.value(), std::generic_category(), folder.native());
    std::sort(names.begin(), names.end());
    return names;
}

class TreeCopier {
public:
    void copy(const fs::path& from, const CopyPlace& to) {
        try {
            const struct stat status = statusOf(AT_FDCWD, from, from);
            if (S_ISREG(status.st_mode))
                copyRegularFile(from, to);
            else if (S_ISLNK(status.st_mode))
                copySymbolicLink(from, to);
            else if (S_ISDIR(status.st_mode))
                copyFolder(from, to, status);
            else
                throw std::runtime_error(from.native() + ": Not a file, folder or symbolic link");
        } catch (const std::exception& error) {
            errors_.emplace_back(error.what());
        }
    }

    std::vector<std::string> takeErrors() { return std::move(errors_); }

private:
    void copyFolder(const fs::path& from, const CopyPlace& to, const struct stat& source) {
        if (ownRoot_ && source.st_dev == ownRoot_->st_dev && source.st_ino == ownRoot_->st_ino)
            throw std::runtime_error(from.native() + ": A folder cannot be copied into itself");
        FileDescriptor folder = openFolder(to);
        if (!ownRoot_)
            ownRoot_ = statusOf(folder.get(), ".", to.path);
        for (const fs::path& name : namesIn(from))
            copy(from / name, {folder, to.path / name});
        copyFolderMetadata(from, std::move(folder), to.path);
    }

    std::vector<std::string> errors_;
    /// Where the copy of the outermost folder grows.
    std::optional<struct stat> ownRoot_;
};

} // namespace

std::vector<std::string> copyTree(const fs::path& from, const fs::path& to) {
    const FileDescriptor parent(
        ::open(fs::absolute(to).parent_path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!parent)
        return {to.native() + ": " + std::generic_category().message(errno)};
    TreeCopier copier;
    copier.copy(from, {parent, to});
    return copier.takeErrors();
}

} // namespace ternvault

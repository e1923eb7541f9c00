#include "platform/linux/programs/TreeCopy.h"

#include "platform/linux/programs/FileCopy.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <stdexcept>
#include <system_error>

namespace ternvault {

namespace fs = std::filesystem;

namespace {

struct stat statusOf(const fs::path& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0)
        throw std::system_error(errno, std::generic_category(), path.native());
    return status;
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
    void copy(const fs::path& from, const fs::path& to) {
        try {
            const struct stat status = statusOf(from);
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
    void copyFolder(const fs::path& from, const fs::path& to, const struct stat& source) {
        if (ownRoot_ && source.st_dev == ownRoot_->st_dev && source.st_ino == ownRoot_->st_ino)
            throw std::runtime_error(from.native() + ": A folder cannot be copied into itself");
        if (::mkdir(to.c_str(), 0700) != 0 && (errno != EEXIST || !S_ISDIR(statusOf(to).st_mode)))
            throw std::system_error(errno, std::generic_category(), to.native());
        if (!ownRoot_)
            ownRoot_ = statusOf(to);
        for (const fs::path& name : namesIn(from))
            copy(from / name, to / name);
        copyFolderMetadata(from, to);
    }

    std::vector<std::string> errors_;
    /// Where the copy of the outermost folder grows.
    std::optional<struct stat> ownRoot_;
};

} // namespace

std::vector<std::string> copyTree(const fs::path& from, const fs::path& to) {
    TreeCopier copier;
    copier.copy(from, to);
    return copier.takeErrors();
}

} // namespace ternvault

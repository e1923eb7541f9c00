#include "server/Draft.h"

#include "base/FileDescriptor.h"

#include <cerrno>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ternvault::server {

namespace {

constexpr mode_t modeOfNewFiles = 0644;

[[noreturn]] void fail(const std::filesystem::path& path) {
    throw std::system_error(errno, std::generic_category(), path.string());
}

void copyOwnerAndMode(const std::filesystem::path& file, int descriptor) {
    struct stat there {};
    const bool exists = ::stat(file.c_str(), &there) == 0;
    if (!exists && errno != ENOENT)
        fail(file);
    if ((exists && ::fchown(descriptor, there.st_uid, there.st_gid) != 0) ||
        ::fchmod(descriptor, exists ? there.st_mode & 07777 : modeOfNewFiles) != 0)
        fail(file);
}

void writeAll(int descriptor, std::string_view content) {
    while (!content.empty()) {
        const auto size = ::write(descriptor, content.data(), content.size());
        if (size < 0)
            throw std::system_error(errno, std::generic_category());
        content.remove_prefix(static_cast<std::size_t>(size));
    }
}

} // namespace

Draft::Draft(const std::filesystem::path& file, std::string_view content, const std::filesystem::path& model)
    : file_(std::filesystem::weakly_canonical(file)) {
    std::string name = file_.string() + ".XXXXXX";
    const FileDescriptor descriptor(::mkostemp(name.data(), O_CLOEXEC));
    if (!descriptor)
        fail(file_);
    path_ = name;
    try {
        writeAll(descriptor.get(), content);
        copyOwnerAndMode(model, descriptor.get());
        if (::fsync(descriptor.get()) != 0)
            fail(path_);
    } catch (...) {
        ::unlink(path_.c_str());
        throw;
    }
}

Draft::~Draft() {
    if (!path_.empty())
        ::unlink(path_.c_str());
}

void Draft::commit() {
    if (::rename(path_.c_str(), file_.c_str()) != 0)
        fail(file_);
    path_.clear();
    const FileDescriptor folder(::open(file_.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder || ::fsync(folder.get()) != 0)
        fail(file_);
}

} // namespace ternvault::server

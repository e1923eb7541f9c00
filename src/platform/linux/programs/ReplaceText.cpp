#include "platform/linux/programs/ReplaceText.h"

#include "base/FileDescriptor.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>

namespace ternvault {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

} // namespace

void replaceText(const fs::path& file, const std::string& text, mode_t mode) {
    const fs::path fresh = file.native() + ".new";
    const FileDescriptor descriptor(
        ::open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, mode));
    if (!descriptor)
        fail("open");
    if (::write(descriptor.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size()) ||
        ::fsync(descriptor.get()) != 0)
        fail("write");
    fs::rename(fresh, file);
    const FileDescriptor folder(::open(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ::fsync(folder.get());
}

} // namespace ternvault

#include "server/TextFile.h"

#include "base/FileDescriptor.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>

namespace ternvault::server {

namespace {

constexpr std::size_t largest = 1 << 20;

} // namespace

std::string readTextFile(const std::filesystem::path& file) {
    const FileDescriptor descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
    if (!descriptor)
        throw std::system_error(errno, std::generic_category());
    std::string content;
    char buffer[4096];
    while (true) {
        const auto size = ::read(descriptor.get(), buffer, sizeof buffer);
        if (size < 0)
            throw std::system_error(errno, std::generic_category());
        if (size == 0)
            return content;
        content.append(buffer, static_cast<std::size_t>(size));
        if (content.size() > largest)
            throw std::system_error(EFBIG, std::generic_category());
    }
}

} // namespace ternvault::server

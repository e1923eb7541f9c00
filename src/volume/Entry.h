#pragma once

#include <cstdint>
#include <string>

#include <sys/stat.h>

namespace ternvault::volume {

/// What the volume knows of one file or directory.
struct Entry {
    enum class Kind {
        File,
        Directory,
        Symlink,
        /// A file that has the size of a symbolic link and was not read yet.
        FileOrSymlink,
    };
    Kind kind = Kind::File;
    std::uint64_t size = 0;
    timespec modified{};
    timespec accessed{};
    timespec changed{};
    /// Of a symbolic link.
    std::string target;
};

} // namespace ternvault::volume

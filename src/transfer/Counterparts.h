#pragma once

#include <filesystem>
#include <functional>
#include <string_view>

#include <sys/types.h>

namespace ternvault {

/// An entry as the *at(2) calls take it.
struct EntryAt {
    int folder;
    const char* name;
};

/// An entry of the source, and the place of the same name at the destination, which may be empty.
struct Counterparts {
    EntryAt source;
    EntryAt destination;
    /// The type bits (S_IFMT) of the source's entry; a link is a link.
    mode_t type;
};

/// Whether the copy options keep rsync from copying what has this name.
bool isExcludedName(std::string_view name);

/// Visits the file, or all that the folder holds, as far as rsync would look at it: without the names that
/// the copy options exclude. Below a folder that the destination does not have, nothing is visited, because
/// nothing can be overwritten there. Links are not followed. What may not be read is left to rsync, which
/// says so; other failures are std::system_error.
void visitCounterparts(const std::filesystem::path& from, const std::filesystem::path& to, bool isDirectory,
                       const std::function<void(const Counterparts&)>& visit);

} // namespace ternvault

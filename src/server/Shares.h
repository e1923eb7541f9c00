#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ternvault::server {

/// A folder that Samba serves to every account under one name.
struct Share {
    std::string name;
    std::string path;
    bool writable = false;

    bool operator==(const Share&) const = default;
};

/// The shares in what `testparm -s` prints. Left out is what is no place for files: printers, disabled and
/// administrative shares (name with "$" at its end), and those whose path depends on the user.
std::vector<Share> parseShares(std::string_view testparmOutput);

} // namespace ternvault::server

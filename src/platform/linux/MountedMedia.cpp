#include "platform/linux/MountedMedia.h"

#include <mntent.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <string_view>

namespace ternvault {

namespace {

struct TableCloser {
    void operator()(FILE* table) const { ::endmntent(table); }
};

constexpr std::array<std::string_view, 4> parents{"/media/", "/run/media/", "/mnt/", "/Volumes/"};

bool isForPeople(std::string_view mountPoint) {
    return mountPoint == "/mnt" || std::ranges::any_of(parents, [mountPoint](std::string_view parent) {
               return mountPoint.starts_with(parent);
           });
}

} // namespace

std::vector<std::filesystem::path> mountedMedia() {
    std::vector<std::filesystem::path> roots;
    const std::unique_ptr<FILE, TableCloser> table(::setmntent("/proc/self/mounts", "re"));
    if (!table)
        return roots;
    mntent entry{};
    std::array<char, 16384> buffer{};
    while (::getmntent_r(table.get(), &entry, buffer.data(), static_cast<int>(buffer.size())) != nullptr)
        if (isForPeople(entry.mnt_dir))
            roots.emplace_back(entry.mnt_dir);
    std::ranges::sort(roots);
    roots.erase(std::ranges::unique(roots).begin(), roots.end());
    return roots;
}

} // namespace ternvault

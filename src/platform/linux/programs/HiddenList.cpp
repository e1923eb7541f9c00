#include "platform/linux/programs/HiddenList.h"

#include "base/FileLocking.h"

#include <algorithm>
#include <fstream>

#include <fcntl.h>

namespace ternvault {

namespace fs = std::filesystem;

HiddenList::HiddenList(const fs::path& folder, std::chrono::milliseconds patience)
    : file_(folder / ".hidden"), folder_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (!folder_)
        throw std::system_error(errno, std::generic_category(), folder.native());
    if (const std::error_code error = lockExclusively(folder_.get(), patience))
        throw std::system_error(error, folder.native());
}

/// Closing would not do: a child process that was started meanwhile has a copy of the descriptor until its
/// program runs.
HiddenList::~HiddenList() {
    ::flock(folder_.get(), LOCK_UN);
}

void HiddenList::add(const std::string& name) {
    std::vector<std::string> names = read();
    if (std::find(names.begin(), names.end(), name) != names.end())
        return;
    names.push_back(name);
    write(names);
}

bool HiddenList::remove(const std::string& name) {
    std::vector<std::string> names = read();
    if (std::erase(names, name) == 0)
        return false;
    write(names);
    return true;
}

std::vector<std::string> HiddenList::read() const {
    const fs::file_type type = fs::symlink_status(file_).type();
    if (type == fs::file_type::not_found)
        return {};
    // What a link leads to is not ours to replace, and a pipe would block.
    if (type != fs::file_type::regular)
        throw std::system_error(std::make_error_code(std::errc::not_supported), file_.native());
    std::ifstream stream(file_, std::ios::binary);
    if (!stream)
        throw std::system_error(std::make_error_code(std::errc::permission_denied), file_.native());
    std::vector<std::string> names;
    for (std::string name; std::getline(stream, name);)
        names.push_back(name);
    if (stream.bad())
        throw std::system_error(std::make_error_code(std::errc::io_error), file_.native());
    return names;
}

void HiddenList::write(const std::vector<std::string>& names) const {
    if (names.empty()) {
        fs::remove(file_);
        return;
    }
    const fs::path fresh = file_.native() + ".new";
    fs::remove(fresh);
    std::ofstream stream(fresh, std::ios::binary);
    for (const std::string& name : names)
        stream << name << '\n';
    stream.close();
    if (!stream)
        throw std::system_error(std::make_error_code(std::errc::io_error), fresh.native());
    // Not synced: a name that a loss of power takes back is hidden again at the next start.
    fs::rename(fresh, file_);
}

} // namespace ternvault

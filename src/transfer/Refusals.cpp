#include "transfer/Refusals.h"

#include "transfer/Counterparts.h"
#include "transfer/TransferError.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

namespace ternvault {

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

using Identity = std::pair<dev_t, ino_t>;

std::optional<Identity> identity(const EntryAt& entry, int flags) {
    struct stat status {};
    if (::fstatat(entry.folder, entry.name, &status, flags) != 0)
        return std::nullopt;
    return Identity(status.st_dev, status.st_ino);
}

[[noreturn]] void refuse(const std::string& name, const QString& reason) {
    throw TransferError(TransferError::refused, QString::fromStdString(name) + reason);
}

/// The links of an item that lead to something and would replace something.
class ReplacingLinks {
public:
    void add(const Counterparts& item) {
        if (!S_ISLNK(item.type))
            return;
        const std::optional<Identity> replaced = identity(item.destination, AT_SYMLINK_NOFOLLOW);
        const std::optional<Identity> target = identity(item.source, 0);
        if (!replaced || !target)
            return;
        replaced_.insert(*replaced);
        links_.emplace_back(fs::path(item.source.name).filename().native(), *target);
    }
    /// Two links may replace each other's targets, so all of them count for each.
    void refuseThoseToReplaced() const {
        for (const auto& [name, target] : links_) {
            if (replaced_.contains(target))
                refuse(name, u" is a link to what it would replace"_s);
        }
    }

private:
    std::set<Identity> replaced_;
    std::vector<std::pair<std::string, Identity>> links_;
};

bool isWithin(const fs::path& item, const fs::path& folder) {
    std::error_code ignored;
    for (fs::path part = item.parent_path(); part.has_relative_path(); part = part.parent_path()) {
        if (fs::equivalent(part, folder, ignored))
            return true;
    }
    return false;
}

} // namespace

void refuseToCopyOntoItself(const fs::path& from, const fs::path& to, bool isDirectory) {
    std::error_code ignored;
    const std::string name = from.filename().native();
    if (fs::is_symlink(from, ignored) && fs::equivalent(from, to, ignored))
        refuse(name, u" is a link to what it would replace"_s);
    if (isDirectory && isWithin(to, from))
        refuse(name, u": A folder cannot be copied into itself"_s);
    ReplacingLinks links;
    visitCounterparts(from, to, isDirectory, [&](const Counterparts& item) { links.add(item); });
    links.refuseThoseToReplaced();
}

} // namespace ternvault

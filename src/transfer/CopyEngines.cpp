#include "transfer/CopyEngines.h"

#include "base/Utf8.h"
#include "transfer/ChunkedCopy.h"
#include "transfer/Refusals.h"
#include "transfer/TransferError.h"
#include "transfer/UnfinishedMarks.h"

#include <QFile>

#include <cerrno>
#include <optional>
#include <system_error>

#include <unistd.h>

namespace ternvault {

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

constexpr int startFailureStatus = 127;

const QStringList& rsyncLocations() {
    static const QStringList locations{u"/opt/homebrew/bin/rsync"_s, u"/usr/bin/rsync"_s,
                                       u"/usr/local/bin/rsync"_s};
    return locations;
}

const QStringList& rsyncOptions() {
    static const QStringList options{u"-a"_s,           u"--partial"_s, u"--inplace"_s,  u"--no-owner"_s,
                                     u"--no-group"_s,   u"--exclude"_s, u".DS_Store"_s,  u"--exclude"_s,
                                     u"._*"_s,          u"--exclude"_s, u"lost+found"_s, u"--exclude"_s,
                                     u"lost+found/**"_s};
    return options;
}

QString text(const fs::path& path) {
    return QFile::decodeName(path.c_str());
}

/// Arguments are text: a name that is none would arrive as another name, maybe that of another file.
void requireText(const fs::path& path) {
    if (text(path).toStdString() != path.native())
        throw std::system_error(std::make_error_code(std::errc::illegal_byte_sequence));
}

/// Before the destination is removed for the sake of a source that no engine can read.
void requireReadableFile(const fs::path& source) {
    const std::string name = source.filename().string();
    if (::access(source.c_str(), R_OK) != 0)
        throw std::system_error(errno, std::generic_category(), name);
    if (!fs::is_regular_file(source))
        throw std::system_error(std::make_error_code(std::errc::not_supported), name);
}

bool isSameFile(const fs::path& a, const fs::path& b) {
    std::error_code error;
    return fs::equivalent(a, b, error);
}

bool isHidden(const fs::path& item) {
    return item.filename().native().starts_with('.');
}

/// Best effort: what cannot be read adds nothing.
std::int64_t sizeOfVisibleFiles(const fs::path& folder) {
    std::int64_t total = 0;
    std::error_code error;
    for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (isHidden(entry->path())) {
            entry.disable_recursion_pending();
            continue;
        }
        std::error_code unreadable;
        if (fs::is_regular_file(entry->symlink_status(unreadable))) {
            const std::uintmax_t size = entry->file_size(unreadable);
            if (!unreadable)
                total += static_cast<std::int64_t>(size);
        }
    }
    return total;
}

} // namespace

std::int64_t CopyEngines::rsyncCopy(const fs::path& from, const fs::path& to, bool isDirectory) const {
    requireText(from);
    requireText(to);
    files_.createDirectories(to.parent_path());
    // rsync believes what a volume remembers of the item, and skips what the server may not have any more.
    files_.revalidate(to);
    // rsync would copy the file into the folder, and the next engine would remove the folder.
    if (!isDirectory && files_.isDirectory(to))
        throw std::system_error(std::make_error_code(std::errc::is_a_directory), to.filename().string());
    refuseToCopyOntoItself(from, to, isDirectory);
    const bool areMarked = markUnfinishedFiles(from, to, isDirectory);
    const SingleFileCheck check(from);
    // What may not be marked may have been replaced all the same; where it was not, rsync skipped it.
    if (copiedByRsync(from, to, isDirectory) && (areMarked || markUnfinishedFiles(from, to, isDirectory)))
        check.requireCopied(to);
    else
        copyWithoutRsync(from, to, isDirectory);
    return measure(to);
}

bool CopyEngines::copiedByRsync(const fs::path& from, const fs::path& to, bool isDirectory) const {
    for (const QString& rsync : rsyncLocations()) {
        if (!processes_.isExecutable(rsync))
            continue;
        QString source = text(from);
        QString destination = text(to);
        if (isDirectory) {
            if (!source.endsWith(u'/'))
                source += u'/';
            files_.createDirectories(to);
            destination += u'/';
        }
        return run(rsync, rsyncOptions() + QStringList{source, destination}).status == 0;
    }
    return false;
}

void CopyEngines::copyWithoutRsync(const fs::path& from, const fs::path& to, bool isDirectory) const {
    if (!isDirectory)
        requireReadableFile(from);
    // An item of the volume copied onto itself: removing the destination first would lose it.
    if (isSameFile(from, to))
        throw std::system_error(std::make_error_code(std::errc::file_exists), to.filename().string());
    if (!isDirectory && files_.exists(to)) {
        try {
            files_.remove(to);
        } catch (const std::system_error&) {
            // The copy tool may still be able to replace it, and says so if not.
        }
    }
    const ChildOutcome outcome = run(u"/usr/bin/ditto"_s, {text(from), text(to)});
    if (outcome.status == 0)
        return;
    if (!isDirectory) {
        chunkedCopy(files_, from, to);
        return;
    }
    throw TransferError(outcome.status,
                        outcome.output.isEmpty() ? u"rsync/ditto failed for folder"_s : outcome.output);
}

ChildOutcome CopyEngines::run(const QString& program, const QStringList& arguments) const {
    const ProcessResult result = turn_ != nullptr ? processes_.runHolding(*turn_, program, arguments)
                                                  : processes_.run(program, arguments);
    if (result.startError)
        return {startFailureStatus, *result.startError};
    std::optional<QString> output = decodeUtf8(result.standardError);
    if (!output)
        output = decodeUtf8(result.standardOutput);
    return {result.exitStatus, output.value_or(QString()).trimmed()};
}

std::int64_t CopyEngines::measure(const fs::path& item) const {
    try {
        return sizeOf(item);
    } catch (const std::system_error&) {
        return 0;
    }
}

std::int64_t CopyEngines::sizeOf(const fs::path& item) const {
    if (!files_.exists(item))
        return 0;
    if (files_.isDirectory(item))
        return sizeOfVisibleFiles(item);
    return fs::is_symlink(item) ? 0 : static_cast<std::int64_t>(fs::file_size(item));
}

} // namespace ternvault

#include "platform/linux/PropertyListFile.h"

#include "platform/PropertyList.h"

#include <QDateTime>

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <cstdio>

namespace ternvault {

namespace fs = std::filesystem;
using namespace Qt::StringLiterals;

namespace {

/// A change takes milliseconds; whoever holds the lock longer hangs.
constexpr std::chrono::milliseconds lockPatience(2000);

QString text(const fs::path& path) {
    return QString::fromStdString(path.native());
}

QString text(const std::error_code& error) {
    return QString::fromStdString(error.message());
}

fs::path followLinks(const fs::path& file) {
    std::error_code error;
    const fs::path target = fs::weakly_canonical(file, error);
    return error ? file : target;
}

} // namespace

PropertyListFile::PropertyListFile(const fs::path& file, Report report)
    : file_(followLinks(file)), onProblem_(std::move(report)) {}

const QVariantMap& PropertyListFile::values() {
    if (currentStamp() == loaded_ || load() != Content::damaged)
        return values_;
    if (const auto held = lock())
        loadForWriting();
    return values_;
}

bool PropertyListFile::update(const std::function<void(QVariantMap& values)>& change) {
    if (file_.empty())
        return report(u"no folder for the user's own data is known"_s);
    std::error_code error;
    fs::create_directories(file_.parent_path(), error);
    if (error)
        return report(u"%1 cannot be created: %2"_s.arg(text(file_.parent_path()), text(error)));
    const auto held = lock();
    if (!held || !loadForWriting())
        return false;
    QVariantMap changed = values_;
    change(changed);
    const QByteArray content = writePropertyList(changed);
    if (content != writePropertyList(values_)) {
        error = replaceFile(file_, content);
        if (error)
            return report(u"%1 cannot be written: %2"_s.arg(text(file_), text(error)));
        values_ = changed;
        loaded_ = currentStamp();
    }
    lastProblem_.clear();
    return true;
}

PropertyListFile::Stamp PropertyListFile::currentStamp() const {
    struct stat status {};
    if (::stat(file_.c_str(), &status) != 0)
        return {};
    return {status.st_dev, status.st_ino, status.st_size,
            std::int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec};
}

std::optional<FileLock> PropertyListFile::lock() {
    std::error_code error;
    auto held = FileLock::acquire(file_, lockPatience, error);
    if (!held)
        report(u"%1 cannot be locked: %2"_s.arg(text(file_), text(error)));
    return held;
}

PropertyListFile::Content PropertyListFile::load() {
    values_.clear();
    loaded_ = currentStamp();
    QByteArray xml;
    const std::error_code error = readFile(file_, xml);
    isReadable_ = !error || error == std::errc::no_such_file_or_directory;
    if (error == std::errc::no_such_file_or_directory)
        return Content::known;
    if (error) {
        report(u"%1 cannot be read: %2"_s.arg(text(file_), text(error)));
        return Content::unreadable;
    }
    if (xml.isEmpty()) {
        report(u"%1 is empty"_s.arg(text(file_)));
        return Content::known;
    }
    const auto decoded = readPropertyList(xml);
    if (const auto* const problem = std::get_if<PropertyListError>(&decoded)) {
        damage_ = u"line %1: %2"_s.arg(problem->line).arg(problem->reason);
        return Content::damaged;
    }
    const QVariant& value = std::get<QVariant>(decoded);
    if (value.typeId() != QMetaType::QVariantMap) {
        damage_ = u"not a dictionary"_s;
        return Content::damaged;
    }
    values_ = value.toMap();
    return Content::known;
}

bool PropertyListFile::loadForWriting() {
    const Content content = load();
    return content == Content::known || (content == Content::damaged && setAside());
}

bool PropertyListFile::setAside() {
    const QString time = QDateTime::currentDateTimeUtc().toString(u"yyyyMMdd'T'HHmmss.zzz'Z'");
    const fs::path aside = file_.native() + ".damaged-" + time.toStdString();
    if (::renameat2(AT_FDCWD, file_.c_str(), AT_FDCWD, aside.c_str(), RENAME_NOREPLACE) != 0) {
        const std::error_code error(errno, std::generic_category());
        return report(
            u"%1 is damaged (%2) and cannot be set aside: %3"_s.arg(text(file_), damage_, text(error)));
    }
    loaded_ = {};
    report(u"%1 was damaged (%2) and is kept as %3"_s.arg(text(file_), damage_, text(aside)));
    return true;
}

bool PropertyListFile::report(const QString& problem) {
    if (problem != lastProblem_)
        onProblem_(problem);
    lastProblem_ = problem;
    return false;
}

} // namespace ternvault

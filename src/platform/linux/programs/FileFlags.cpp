#include "platform/linux/programs/FileFlags.h"

#include "platform/linux/programs/HiddenList.h"
#include "platform/linux/programs/MountPoints.h"
#include "platform/linux/programs/Outcome.h"

#include <QFile>

#include <system_error>

namespace ternvault {

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

/// The main thread waits here, and the next change of the setting tries again.
constexpr std::chrono::milliseconds patience(30);

fs::path entryOf(const QString& argument) {
    const fs::path path(QFile::encodeName(argument).toStdString());
    return path.has_filename() ? path : path.parent_path();
}

void setHidden(const fs::path& entry, bool hidden) {
    HiddenList list(entry.parent_path(), patience);
    if (!hasEntry(entry))
        throw std::system_error(std::make_error_code(std::errc::no_such_file_or_directory), entry.native());
    if (hidden)
        list.add(entry.filename());
    else
        list.remove(entry.filename());
}

} // namespace

ProcessResult runFileFlags(const QStringList& arguments) {
    const bool hidden = arguments.value(0) == "hidden"_L1;
    if (arguments.size() != 2 || !(hidden || arguments[0] == "nohidden"_L1) ||
        !arguments[1].startsWith(u'/') || arguments[1].contains(u'\n'))
        return misused(u"usage: chflags hidden|nohidden /path/without/line/breaks"_s);
    try {
        setHidden(entryOf(arguments[1]), hidden);
    } catch (const std::system_error& error) {
        return failed(u"chflags: "_s + QString::fromLocal8Bit(error.what()));
    }
    return {};
}

} // namespace ternvault

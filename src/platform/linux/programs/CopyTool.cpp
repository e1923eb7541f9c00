#include "platform/linux/programs/CopyTool.h"

#include "platform/linux/programs/Outcome.h"
#include "platform/linux/programs/TreeCopy.h"

#include <QFile>

namespace ternvault {

using namespace Qt::StringLiterals;

ProcessResult runCopyTool(const QStringList& arguments) {
    if (arguments.size() != 2)
        return misused(u"usage: ditto source destination"_s);
    ProcessResult result;
    const auto path = [](const QString& argument) {
        return std::filesystem::path(QFile::encodeName(argument).toStdString());
    };
    for (const std::string& error : copyTree(path(arguments[0]), path(arguments[1]))) {
        result.exitStatus = 1;
        result.standardError += QByteArray::fromStdString(error) + '\n';
    }
    return result;
}

} // namespace ternvault

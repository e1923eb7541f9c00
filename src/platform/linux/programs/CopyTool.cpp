#include "platform/linux/programs/CopyTool.h"

#include "platform/linux/programs/TreeCopy.h"

#include <QFile>

namespace ternvault {

ProcessResult runCopyTool(const QStringList& arguments) {
    ProcessResult result;
    if (arguments.size() != 2) {
        result.exitStatus = 64;
        result.standardError = "usage: ditto source destination\n";
        return result;
    }
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

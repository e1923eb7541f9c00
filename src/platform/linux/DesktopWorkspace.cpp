#include "platform/linux/DesktopWorkspace.h"

#include <QFile>
#include <QProcess>

namespace ternvault {

using namespace Qt::StringLiterals;

void DesktopWorkspace::openFolder(const std::filesystem::path& folder) {
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return;
    QProcess process;
    process.setProgram(u"xdg-open"_s);
    process.setArguments({QFile::decodeName(folder.c_str())});
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.startDetached();
}

} // namespace ternvault

#include "platform/linux/DesktopWorkspace.h"

#include <QFile>
#include <QProcess>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

void open(const QString& target) {
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return;
    QProcess process;
    process.setProgram(u"xdg-open"_s);
    process.setArguments({target});
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.startDetached();
}

} // namespace

void DesktopWorkspace::openFolder(const std::filesystem::path& folder) {
    open(QFile::decodeName(folder.c_str()));
}

void DesktopWorkspace::openURL(const QUrl& url) {
    open(url.toString(QUrl::FullyEncoded));
}

} // namespace ternvault

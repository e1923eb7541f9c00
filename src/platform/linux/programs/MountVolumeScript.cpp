#include "platform/linux/programs/MountVolumeScript.h"

#include "platform/linux/programs/MountPoints.h"
#include "platform/linux/programs/Outcome.h"

#include <QProcess>

#include <system_error>

using namespace Qt::StringLiterals;

namespace ternvault {
namespace {

constexpr int patienceMilliseconds = 9000;

std::optional<QString> addressIn(const QStringList& arguments) {
    constexpr auto opening = "mount volume \""_L1;
    if (arguments.size() != 2 || arguments[0] != "-e"_L1 || !arguments[1].startsWith(opening) ||
        arguments[1].size() <= opening.size() || !arguments[1].endsWith(u'"'))
        return {};
    return arguments[1].mid(opening.size()).chopped(1).replace("\\\""_L1, "\""_L1);
}

} // namespace

ProcessResult MountVolumeScript::operator()(const QStringList& arguments) const {
    const auto address = addressIn(arguments);
    if (!address)
        return misused(u"Only the command “mount volume” with one address is known here."_s);
    QProcess process;
    process.start(places_.program, {u"--volumes-root"_s, QString::fromStdString(places_.volumesRoot.string()),
                                    u"--state"_s, QString::fromStdString(places_.state.string())});
    process.write(address->toUtf8());
    process.closeWriteChannel();
    if (!process.waitForFinished(patienceMilliseconds)) {
        if (process.error() == QProcess::FailedToStart)
            return failed(places_.program + u" cannot be started: "_s + process.errorString());
        process.kill();
        process.waitForFinished(500);
        awaitRemoval(places_.volumesRoot / address->section(u'/', -1).toStdString());
        reapLeftovers(places_.volumesRoot, places_.state);
        return failed(u"The server did not answer in time."_s);
    }
    if (process.exitStatus() != QProcess::NormalExit)
        return failed(u"The program that serves the volume ended unexpectedly."_s);
    const bool succeeded = process.exitCode() == 0;
    return {{}, succeeded ? 0 : 1, process.readAllStandardOutput(), process.readAllStandardError()};
}

} // namespace ternvault

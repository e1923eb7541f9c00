#include "mount/SMBMounter.h"

#include "async/Await.h"
#include "base/Utf8.h"

#include <QStringList>

#include <chrono>
#include <optional>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr std::chrono::milliseconds appearanceGrace(500);

QString mountScript(const QString& host, const QString& share, const QString& username,
                    const QString& password) {
    QString url = u"smb://"_s + username + u':' + password + u'@' + host + u'/' + share;
    url.replace(u'"', u"\\\""_s);
    return u"mount volume \""_s + url + u'"';
}

QString mountFailureText(const ProcessResult& result) {
    std::optional<QString> text = decodeUtf8(result.standardError);
    if (!text)
        text = decodeUtf8(result.standardOutput);
    return text.value_or(u"mount volume failed"_s).trimmed();
}

/// Runs on a background thread.
void runMountProgram(ProcessLauncher& processes, const QString& script) {
    const ProcessResult result = processes.run(u"/usr/bin/osascript"_s, {u"-e"_s, script});
    if (result.startError)
        throw ProcessStartError(*result.startError);
    if (result.exitStatus != 0)
        throw SMBMounterError(SMBMounterError::Kind::mountFailed, mountFailureText(result));
}

ProcessResult runDiskUtility(ProcessLauncher& processes, const QStringList& arguments) {
    ProcessResult result = processes.run(u"/usr/sbin/diskutil"_s, arguments);
    if (result.startError)
        throw ProcessStartError(*result.startError);
    return result;
}

/// Runs on a background thread.
void ejectMountPoint(ProcessLauncher& processes, const QString& mountPoint) {
    if (runDiskUtility(processes, {u"unmount"_s, mountPoint}).exitStatus == 0)
        return;
    const ProcessResult forced = runDiskUtility(processes, {u"unmount"_s, u"force"_s, mountPoint});
    if (forced.exitStatus != 0)
        throw SMBMounterError(SMBMounterError::Kind::unmountFailed,
                              decodeUtf8(forced.standardError).value_or(u"unmount failed"_s));
}

} // namespace

SMBMounter::SMBMounter(const Platform& platform)
    : platform_(platform), volumes_(platform.files, platform.locations.volumesRoot()) {}

bool SMBMounter::isVolumePresent(const QString& share, const QString& volumeName) const {
    for (const QString& name : {volumeName, share, QString(defaultShareName)}) {
        if (volumes_.hasVolume(name))
            return true;
    }
    return false;
}

Task<> SMBMounter::mount(QString host, QString share, QString username, QString password,
                         QString volumeName) const {
    if (isVolumePresent(share, volumeName))
        co_return;
    if (share.contains(u'/')) {
        // In the address, what stands before the slash would be read as a server, which would get the
        // password.
        throw SMBMounterError(SMBMounterError::Kind::mountFailed, u"A share's name has no slash"_s);
    }
    const QString script = mountScript(host, share, username, password);
    try {
        co_await runMountScript(script);
    } catch (const std::exception&) {
        if (isVolumePresent(share, volumeName))
            co_return;
        throw;
    }
    if (isVolumePresent(share, volumeName))
        co_return;
    co_await sleepFor(platform_.mainLoop, appearanceGrace);
    if (!isVolumePresent(share, volumeName)) {
        // The message names the system's folder, whatever root this process was given.
        throw SMBMounterError(SMBMounterError::Kind::mountFailed, u"Volume did not appear under /Volumes"_s);
    }
}

Task<> SMBMounter::runMountScript(QString script) const {
    auto work = [&processes = platform_.processes, script] { runMountProgram(processes, script); };
    co_await inBackground(platform_.background, platform_.mainLoop, Lane::general, std::move(work));
}

Task<> SMBMounter::unmount(QString volumeName) const {
    QStringList names{volumeName};
    if (volumeName == defaultShareName)
        names << legacyVolumeName;

    std::optional<QString> lastFailure;
    for (const QString& name : names) {
        if (!volumes_.hasVolume(name))
            continue;
        const QString mountPoint = volumes_.mountPointText(name);
        try {
            co_await eject(mountPoint);
            co_return;
        } catch (const std::exception& error) {
            lastFailure = QString::fromUtf8(error.what());
        }
    }
    if (lastFailure)
        throw SMBMounterError(SMBMounterError::Kind::unmountFailed, *lastFailure);
}

Task<> SMBMounter::eject(QString mountPoint) const {
    auto work = [&processes = platform_.processes, mountPoint] { ejectMountPoint(processes, mountPoint); };
    co_await inBackground(platform_.background, platform_.mainLoop, Lane::general, std::move(work));
}

} // namespace ternvault

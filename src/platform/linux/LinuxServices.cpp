#include "platform/linux/LinuxServices.h"

#include "platform/PropertyList.h"
#include "platform/linux/DurableFile.h"
#include "platform/linux/programs/CopyTool.h"
#include "platform/linux/programs/DesktopPreference.h"
#include "platform/linux/programs/DesktopRefresh.h"
#include "platform/linux/programs/DiskUtility.h"
#include "platform/linux/programs/FileFlags.h"
#include "platform/linux/programs/LaunchControl.h"
#include "platform/linux/programs/MountPoints.h"
#include "platform/linux/programs/MountVolumeScript.h"

#include <QFile>

#include <cstdlib>
#include <memory>
#include <string>
#include <system_error>

namespace ternvault {

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

/// Empty: not given.
fs::path givenVolumesRoot() {
    const char* const root = std::getenv("TERNVAULT_VOLUMES_ROOT");
    return root != nullptr ? root : "";
}

fs::path volumesRoot() {
    const fs::path given = givenVolumesRoot();
    return given.empty() ? "/Volumes" : given;
}

/// Empty where the system knows no folder of the user: nothing is stored but for this process's life then.
fs::path fileIn(const std::optional<fs::path>& folder, const char* name) {
    return folder ? *folder / name : fs::path();
}

fs::path settingsFile(const LinuxFileLocations& locations) {
    return fileIn(locations.configuration(), "ternvault/space.larkspur.ternvault.plist");
}

fs::path secretFile(const LinuxFileLocations& locations) {
    return fileIn(locations.applicationSupport(), "Tern Vault/secrets.plist");
}

fs::path mountState(const LinuxFileLocations& locations) {
    if (const std::optional<fs::path> state = locations.state())
        return *state / "ternvault/mounts";
    std::error_code error;
    const fs::path temporary = fs::temp_directory_path(error);
    return (error ? "/tmp" : temporary) / ("ternvault-mounts-" + std::to_string(locations.userId()));
}

LinuxFileManager::NoVolumeTest noVolumeTest(const fs::path& state) {
    return [state](const fs::path& entry) {
        // Records name the real path; finding that asks nothing of the volume itself.
        std::error_code ignored;
        const fs::path root = fs::canonical(entry.parent_path(), ignored);
        return isKnownAsNoVolume(state, root / entry.filename());
    };
}

QString programBesideThisOne(const char* name) {
    return QFile::decodeName(fs::read_symlink("/proc/self/exe").replace_filename(name).c_str());
}

StandIn scriptingHost(const MountVolumeScript& mountVolume,
                      const std::shared_ptr<DesktopPreference>& desktop) {
    return [mountVolume, desktop](const QStringList& arguments) {
        return isDesktopRedraw(arguments) ? desktop->redraw() : mountVolume(arguments);
    };
}

ProgramTable hostPrograms(const LinuxFileLocations& locations) {
    const fs::path state = mountState(locations);
    const MountVolumeScript::Places places{programBesideThisOne("ternvault-volume"), locations.volumesRoot(),
                                           state};
    const auto desktop = std::make_shared<DesktopPreference>();
    ProgramTable programs;
    programs.substitute(u"/usr/bin/osascript"_s, scriptingHost(MountVolumeScript(places), desktop));
    programs.substitute(u"/usr/sbin/diskutil"_s, StandIn(DiskUtility(state)));
    programs.substitute(u"/usr/bin/ditto"_s, StandIn(runCopyTool));
    programs.substitute(u"/usr/bin/chflags"_s, StandIn(runFileFlags));
    programs.substitute(u"/usr/bin/defaults"_s,
                        [desktop](const QStringList& arguments) { return desktop->write(arguments); });
    programs.substitute(u"/usr/bin/killall"_s, StandIn(runKillAll));
    programs.substitute(u"/bin/launchctl"_s, StandIn(LaunchControl(locations.configuration())));
    return programs;
}

} // namespace

std::optional<QString> LinuxServices::environmentProblem() {
    const fs::path root = givenVolumesRoot();
    std::error_code ignored;
    if (root.empty() || (root.is_absolute() && fs::is_directory(root, ignored)))
        return std::nullopt;
    return u"TERNVAULT_VOLUMES_ROOT is not the absolute path of a folder: "_s +
           QFile::decodeName(root.c_str());
}

SecretServiceStore LinuxServices::secretServicePreparedToFind(const SecretKey& key) {
    QByteArray secrets;
    readFile(secretFile(LinuxFileLocations(volumesRoot())), secrets);
    const bool saysNothing = secrets.isEmpty() || secrets == writePropertyList(QVariantMap());
    return saysNothing ? SecretServiceStore::preparedToFind(key) : SecretServiceStore();
}

LinuxServices::LinuxServices(const std::function<void(const QString& problem)>& report,
                             const SecretServiceStore& secretService)
    : locations_(volumesRoot()), defaults_(settingsFile(locations_), report), secretService_(secretService),
      secretFile_(secretFile(locations_), report), secrets_(secretService_, secretFile_),
      processes_(hostPrograms(locations_)),
      files_(locations_.volumesRoot(), noVolumeTest(mountState(locations_))),
      copyTurns_(mountState(locations_)) {
    reapLeftovers(locations_.volumesRoot(), mountState(locations_));
}

Platform LinuxServices::platform(const UserInterface& userInterface) {
    return {mainLoop_,
            clock_,
            background_,
            defaults_,
            secrets_,
            processes_,
            files_,
            locations_,
            userInterface.filePanel,
            userInterface.pasteboard,
            userInterface.activation,
            securityScope_,
            log_,
            workspace_,
            http_,
            copyTurns_};
}

} // namespace ternvault

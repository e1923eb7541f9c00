#pragma once

#include "platform/Platform.h"
#include "platform/linux/DesktopWorkspace.h"
#include "platform/linux/FileSecretStore.h"
#include "platform/linux/JournalLog.h"
#include "platform/linux/LinuxFileLocations.h"
#include "platform/linux/LinuxFileManager.h"
#include "platform/linux/LinuxProcessLauncher.h"
#include "platform/linux/LinuxSecretStore.h"
#include "platform/linux/LinuxUserDefaults.h"
#include "platform/linux/LoadedHttpClient.h"
#include "platform/linux/LockedCopyTurns.h"
#include "platform/linux/NoSecurityScope.h"
#include "platform/linux/QtMainLoop.h"
#include "platform/linux/SecretServiceStore.h"
#include "platform/linux/SystemClock.h"
#include "platform/linux/ThreadBackgroundTasks.h"

#include <QString>

#include <chrono>
#include <functional>
#include <optional>

namespace ternvault {

/// The services that need a window, or stand-ins for them (NoUserInterface.h). All outlive the model.
struct UserInterface {
    FilePanel& filePanel;
    Pasteboard& pasteboard;
    Activation& activation;
};

/// All platform services of one process on Linux, for its composition root. Constructed on the main thread
/// after the QCoreApplication and before the model. Its construction also takes away what volumes that ended
/// badly left under the volumes root.
class LinuxServices {
public:
    /// What in the environment keeps the services from working, for the user. Ask before constructing them.
    static std::optional<QString> environmentProblem();

    /// The service that the constructor takes, already looking for what will be asked for first. It is not
    /// where the file of secrets says something, because what the service answers may be older.
    static SecretServiceStore secretServicePreparedToFind(const SecretKey& key);

    /// `report` is told, on the main thread, of settings or secrets that cannot be kept. The volumes root is
    /// $TERNVAULT_VOLUMES_ROOT, or /Volumes.
    /// `secretService` may have begun before, while the toolkit started.
    explicit LinuxServices(const std::function<void(const QString& problem)>& report,
                           const SecretServiceStore& secretService = SecretServiceStore());

    /// The services as the model takes them, with those of the user interface.
    Platform platform(const UserInterface& userInterface);
    MainLoop& mainLoop() { return mainLoop_; }
    BackgroundTasks& background() { return background_; }
    /// Where this user's programs remember what is no setting; nothing when the system knows no place.
    std::optional<std::filesystem::path> state() const { return locations_.state(); }

    /// Call before the end of the process. False: something in the background hangs, so leave through
    /// std::_Exit.
    bool finishBackgroundWork(std::chrono::milliseconds grace) { return background_.finishWithin(grace); }

private:
    LinuxFileLocations locations_;
    QtMainLoop mainLoop_;
    SystemClock clock_;
    LinuxUserDefaults defaults_;
    SecretServiceStore secretService_;
    FileSecretStore secretFile_;
    LinuxSecretStore secrets_;
    LinuxProcessLauncher processes_;
    LinuxFileManager files_;
    NoSecurityScope securityScope_;
    JournalLog log_;
    DesktopWorkspace workspace_;
    LoadedHttpClient http_{mainLoop_};
    LockedCopyTurns copyTurns_;
    /// Last, so first to go: its work uses the others.
    ThreadBackgroundTasks background_;
};

} // namespace ternvault

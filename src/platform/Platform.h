#pragma once

#include "platform/Activation.h"
#include "platform/BackgroundTasks.h"
#include "platform/Clock.h"
#include "platform/CopyTurns.h"
#include "platform/FileLocations.h"
#include "platform/FileManager.h"
#include "platform/FilePanel.h"
#include "platform/HttpClient.h"
#include "platform/MainLoop.h"
#include "platform/Pasteboard.h"
#include "platform/ProcessLauncher.h"
#include "platform/SecretStore.h"
#include "platform/SecurityScope.h"
#include "platform/UnifiedLog.h"
#include "platform/UserDefaults.h"
#include "platform/Workspace.h"

namespace ternvault {

/// The platform services, as the composition root hands them to the model. All outlive it.
struct Platform {
    MainLoop& mainLoop;
    Clock& clock;
    BackgroundTasks& background;
    UserDefaults& defaults;
    SecretStore& secrets;
    ProcessLauncher& processes;
    FileManager& files;
    FileLocations& locations;
    FilePanel& filePanel;
    Pasteboard& pasteboard;
    Activation& activation;
    SecurityScope& securityScope;
    UnifiedLog& log;
    Workspace& workspace;
    HttpClient& http;
    CopyTurns& copyTurns;
};

} // namespace ternvault

#include "model/AppModel.h"

#include "async/EscapeReport.h"
#include "model/LegacyPrefs.h"
#include "model/SettingsKeys.h"

namespace ternvault {

using namespace Qt::StringLiterals;

AppModel::AppModel(const Platform& platform)
    : platform_(platform), keychain_(platform.secrets),
      volumes_(platform.files, platform.locations.volumesRoot()), mounter_(platform_),
      desktopIcon_(platform_), launchAgent_(platform_), disks(*this), shares(*this),
      status(*this, u"Not connected"_s), isBusy(*this), mountedVolumeName(*this),
      authMode(*this, AuthMode::create), setupError(*this), isDropTargeted(*this), transfers(platform_),
      serverIP(*this, {}, [this] { store(keys::serverIP, *serverIP); }),
      agentPort(*this, u"8743"_s, [this] { store(keys::agentPort, *agentPort); }),
      agentToken(*this, {}, [this] { store(keys::agentToken, *agentToken); }),
      smbUser(*this, {}, [this] { store(keys::smbUser, *smbUser); }),
      smbPassword(*this, {}, [this] { keychain_.setPassword(smbPassword, keys::smbPassword); }),
      selectedShare(*this, defaultShareName, [this] { store(keys::selectedShare, *selectedShare); }),
      autoConnect(*this, false,
                  [this] {
                      store(keys::autoConnect, *autoConnect);
                      if (didFinishInit_)
                          bringLoginEntryInLine([this] { return isLoginEntryWanted(); });
                  }),
      showDesktopIcon(*this, false,
                      [this] {
                          store(keys::showDesktopIcon, *showDesktopIcon);
                          if (didFinishInit_)
                              applyDesktopIconVisibility(true);
                      }),
      setupComplete(*this, false,
                    [this] {
                        if (didFinishInit_)
                            store(keys::setupComplete, *setupComplete);
                    }),
      legalAccepted(*this), acceptedPrivacy(*this), acceptedTerms(*this), legalError(*this),
      tasks_(platform.mainLoop, reportEscapes(platform.log)) {
    migratePrefsIfNeeded(platform_.defaults);
    loadSettings();
    didFinishInit_ = true;

    transfers.appModel = anchor_.weak();
    forwardTransferChanges();
    refreshMounted();
    if (isMounted()) {
        status = mountedStatusMessage(std::nullopt);
        applyDesktopIconVisibility(!showDesktopIcon);
    }
    bringLoginEntryInLine([this] { return isLoginEntryWanted(); });
    startReconnectMonitor();
}

/// What the start writes back is no news: another process may have stored something newer meanwhile.
void AppModel::store(QLatin1String key, const QVariant& value) {
    if (didFinishInit_)
        platform_.defaults.set(key, value);
    else
        platform_.defaults.writeBack(key, value);
}

QString AppModel::storedString(QLatin1String key, const QString& fallback) const {
    return platform_.defaults.string(key).value_or(fallback);
}

/// Assigns through the change handlers, so that every key is written back even when it was absent.
void AppModel::loadSettings() {
    serverIP = storedString(keys::serverIP, {});
    agentPort = storedString(keys::agentPort, u"8743"_s);
    agentToken = storedString(keys::agentToken, {});
    smbUser = storedString(keys::smbUser, {});
    loadPassword();
    selectedShare = storedString(keys::selectedShare, defaultShareName);

    const QString legacyToken = storedString(keys::legacyAgentToken, {});
    if (!hasAgentToken() && !legacyToken.trimmed().isEmpty())
        agentToken = legacyToken;

    const bool wasComplete = isStoredOn(keys::setupComplete);
    setupComplete = wasComplete || isAccountKnown();
    autoConnect = isStoredOn(keys::autoConnect);
    showDesktopIcon = isStoredOn(keys::showDesktopIcon);
    legalAccepted = isCurrentLegalVersionAccepted();

    store(keys::setupComplete, *setupComplete);
    if (setupComplete && !wasComplete)
        takeBackUnlessAccountStays();
    store(keys::autoConnect, *autoConnect);
    store(keys::showDesktopIcon, *showDesktopIcon);
}

/// Another process may be in the midst of a reset: the setup is incomplete by then, and the password goes
/// next.
void AppModel::takeBackUnlessAccountStays() {
    if (!keychain_.isMissing(keys::smbPassword))
        return;
    smbPassword.storeWithoutHandler({});
    setupComplete = false;
    store(keys::setupComplete, false);
}

/// The first place that knows a password wins; it ends up in the keychain and nowhere else.
void AppModel::loadPassword() {
    const QString current = keychain_.password(keys::smbPassword, keychainService).value_or(QString());
    if (!current.isEmpty()) {
        smbPassword = current;
        return;
    }
    const QString legacy =
        keychain_.password(keys::legacySmbPassword, keys::legacyKeychainService).value_or(QString());
    if (!legacy.isEmpty()) {
        smbPassword = legacy;
        keychain_.deletePassword(keys::legacySmbPassword, keys::legacyKeychainService);
        return;
    }
    const QString plain = storedString(keys::smbPassword, {});
    smbPassword = plain;
    if (!plain.isEmpty())
        platform_.defaults.remove(keys::smbPassword);
}

/// Views that observe only the model redraw with the transfer state too.
void AppModel::forwardTransferChanges() {
    const WeakRef<AppModel> weak = anchor_.weak();
    MainLoop& mainLoop = platform_.mainLoop;
    childBags_.push_back(transfers.objectWillChange.subscribe([weak, &mainLoop] {
        mainLoop.post([weak] {
            if (AppModel* const model = weak.get())
                model->objectWillChange.emit();
        });
    }));
}

bool AppModel::isLoginEntryWanted() const {
    return isStoredOn(keys::setupComplete) && isStoredOn(keys::autoConnect);
}

/// Another process may have changed it; what is shown and said agrees with the login entry.
void AppModel::followStoredAutoConnect() {
    autoConnect.storeWithoutHandler(isStoredOn(keys::autoConnect));
}

/// Other processes change settings and entry, too. Each makes the entry what is stored then, and looks again
/// after it did: so whoever acted on what is stored no more mends it, and nobody waits for anybody.
void AppModel::bringLoginEntryInLine(const std::function<bool()>& isWanted) {
    bool enabled = false;
    do {
        enabled = isWanted();
        launchAgent_.setEnabled(enabled);
    } while (isWanted() != enabled);
}

void AppModel::applyDesktopIconVisibility(bool restartFinder) {
    desktopIcon_.apply(showDesktopIcon, restartFinder);
}

} // namespace ternvault

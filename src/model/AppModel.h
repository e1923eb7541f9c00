#pragma once

#include "agent/AgentRecords.h"
#include "agent/AuthMode.h"
#include "async/TaskScope.h"
#include "base/Lifetime.h"
#include "base/ObservableObject.h"
#include "model/KeychainStore.h"
#include "mount/DesktopIcon.h"
#include "mount/LaunchAgentManager.h"
#include "mount/SMBMounter.h"
#include "mount/VolumeTable.h"
#include "platform/Platform.h"
#include "transfer/TransferManager.h"
#include "transfer/VolumeHost.h"

#include <QLatin1String>
#include <QString>
#include <QUrl>

#include <array>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace ternvault {

/// The one observable application model: settings, state and the operations behind every screen and command.
/// Main thread only. Routines that it returns must end, or be destroyed, before it is.
class AppModel final : public ObservableObject, public VolumeHost {
    // Before the published fields: their change handlers and `transfers` use these.
    Platform platform_;
    LifetimeAnchor<AppModel> anchor_{this};
    KeychainStore keychain_;
    VolumeTable volumes_;
    SMBMounter mounter_;
    DesktopIcon desktopIcon_;
    LaunchAgentManager launchAgent_;

public:
    /// Migrates old settings, loads all settings, finds out what is mounted and starts the reconnect monitor.
    /// Neither contacts the PC nor mounts. What the ports refer to outlives the model.
    explicit AppModel(const Platform& platform);

    Published<std::vector<ServerDisk>> disks;
    Published<std::vector<ServerShare>> shares;
    /// The latest outcome of any operation, for the user.
    Published<QString> status;
    /// An operation on the PC or on the mount is under way.
    Published<bool> isBusy;
    /// Name of the volume found under the volumes root; written only by `refreshMounted`.
    Published<std::optional<QString>> mountedVolumeName;
    Published<AuthMode> authMode;
    Published<std::optional<QString>> setupError;
    Published<bool> isDropTargeted;

    TransferManager transfers;

    // Settings, written through on every change. Text is kept exactly as typed.
    Published<QString> serverIP;
    Published<QString> agentPort;
    Published<QString> agentToken;
    Published<QString> smbUser;
    /// Kept in the keychain.
    Published<QString> smbPassword;
    Published<QString> selectedShare;
    Published<bool> autoConnect;
    Published<bool> showDesktopIcon;
    Published<bool> setupComplete;

    Published<bool> legalAccepted;
    Published<bool> acceptedPrivacy;
    Published<bool> acceptedTerms;
    Published<std::optional<QString>> legalError;

    /// Where the agent is; nothing while the settings make no address.
    std::optional<QUrl> agentBaseURL() const;
    /// Asks the agent for its disks and shares and reports in `status`; a failure leaves the lists as they
    /// are.
    Task<> fetchDisks();
    /// Whether the latest answer of the agent brought the lists.
    bool isListingCurrent() const { return isListingCurrent_; }

    /// One pass of the setup: checks what was typed, creates the account when asked, mounts. Ends with
    /// `setupComplete`, or with `setupError`.
    Task<> completeAuthFlow();
    /// Back to the setup: forgets the password; the other settings and what is mounted stay.
    void resetSetup();

    /// Records that both legal documents were accepted, or says in `legalError` that they were not.
    void acceptLegal();
    void openPrivacyPolicy();
    void openTerms();

    bool hasAgentToken() const { return !agentToken->trimmed().isEmpty(); }

    /// Brings `mountedVolumeName` in line with the file system. Never waits for the PC.
    void refreshMounted();
    /// Mounts the selected share, or the first listed, or the default one, and reports in `status`.
    /// `markSetup`: also makes sure of the login entry when auto-connect is on.
    Task<> mountSelected(bool markSetup);
    /// Whoever asks while it is mounting for another waits for that mount and tries none of its own, unless
    /// the settings have changed since: however many files need the volume, a wrong password goes to the PC
    /// once.
    Task<bool> ensureMounted() override;
    Task<> unmount();
    /// Mounts after a short wait, if everything is set up and auto-connect is on.
    Task<> autoMountIfNeeded();
    void openMountedVolumeInFinder();
    void applyDesktopIconVisibility(bool restartFinder);

    /// Queues the files for the mounted volume, mounting it first when needed, and reports in `status` how
    /// many were handed in. What is no file of this PC is reported by the queue as missing.
    Task<> handleIncomingFileURLs(std::vector<QUrl> urls) { return queueFiles(std::move(urls), {}); }
    /// What `status` says of files that were handed to the queue.
    static QString queuedMessage(std::size_t count, const std::filesystem::path& root);
    /// Queues the files on the pasteboard, and brings the application to the front when there are any.
    Task<> pasteFromClipboard() { return pasteFromClipboardInto({}); }
    /// The same for a paste that was made where `folder` is shown: it goes into that where it lies below the
    /// root of the mounted volume, and to the root otherwise.
    Task<> pasteFromClipboardInto(std::filesystem::path folder);
    /// The existing files on the pasteboard. For another thread see intake/PasteboardURLs.h.
    std::vector<QUrl> fileURLsFromPasteboard() const;

    QString preferredShare() const override { return selectedShare; }

private:
    void loadSettings();
    void loadPassword();
    void forwardTransferChanges();
    void takeBackUnlessAccountStays();
    bool isAccountKnown() const { return !smbUser->isEmpty() && !smbPassword->isEmpty(); }
    void store(QLatin1String key, const QVariant& value);
    QString storedString(QLatin1String key, const QString& fallback) const;
    bool isStoredOn(QLatin1String key) const { return platform_.defaults.boolean(key).value_or(false); }
    void bringLoginEntryInLine(const std::function<bool()>& isWanted);
    bool isLoginEntryWanted() const;
    void followStoredAutoConnect();

    HttpRequest authorizedRequest(const QUrl& url, const QByteArray& method) const;
    std::optional<HttpRequest> disksRequest();
    bool showDisks(const HttpResponse& answer);
    void showAgentUnreachable(const QString& reason);
    QString connectedMessage() const;

    Task<bool> createAccount(QString user, QString password);
    Task<> createUserOnServer(QString username, QString password);
    Task<> mountWithAccount(QString host, QString user, QString password);
    void finishSetupSuccess(const QString& share);

    Task<> queueFiles(std::vector<QUrl> urls, std::filesystem::path shownFolder);

    bool isCurrentLegalVersionAccepted() const;

    std::optional<QString> detectMountedVolume() const;
    std::optional<std::int64_t> shareCount() const;
    QString mountedStatusMessage(std::optional<std::int64_t> shareCount) const;
    QString shareToMount() const;
    bool isMounted() const { return mountedVolumeName.get().has_value(); }
    /// What decides whether a mount succeeds.
    using MountSettings = std::array<QString, 4>;
    struct SharedMount;
    MountSettings mountSettings() const { return {serverIP, shareToMount(), smbUser, smbPassword}; }
    Task<> mountForAll();
    void finishMount(const QString& newStatus, bool markSetup);
    bool isStaleOnceMounted(bool wasMounted) const;

    void startReconnectMonitor();
    Task<> pollAndReconnectIfNeeded();

    std::vector<Subscription> childBags_;
    bool isListingCurrent_ = false;
    /// The change handlers reach beyond the settings only once the start sequence is over.
    bool didFinishInit_ = false;
    std::unique_ptr<Timer> reconnectTimer_;
    /// While `ensureMounted` is mounting; the routine that came first owns it.
    std::weak_ptr<SharedMount> sharedMount_;
    /// Absent: never, so that nothing holds back the first attempt.
    std::optional<SteadyTime> lastRemountAttempt_;
    /// Last: its routines use all of the above.
    TaskScope tasks_;
};

} // namespace ternvault

#include "async/Await.h"
#include "model/AppModel.h"
#include "model/SettingsKeys.h"

#include <array>
#include <utility>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr std::chrono::seconds autoMountDelay(2);

} // namespace

/// Wakes those that came after the first however that one ends, on later turns, so that each goes on in the
/// order in which it came.
struct AppModel::SharedMount {
    SharedMount(MainLoop& loop, MountSettings tried) : mainLoop(loop), settings(std::move(tried)) {}
    SharedMount(const SharedMount&) = delete;
    ~SharedMount() {
        for (const std::function<void()>& wake : waiting)
            mainLoop.post(wake);
    }

    MainLoop& mainLoop;
    MountSettings settings;
    std::vector<std::function<void()>> waiting;
};

void AppModel::refreshMounted() {
    const std::optional<QString> previous = mountedVolumeName;
    mountedVolumeName = detectMountedVolume();
    if (!isMounted())
        return;
    if (isStaleOnceMounted(previous.has_value()))
        status = mountedStatusMessage(shareCount());
    if (!previous)
        applyDesktopIconVisibility(!showDesktopIcon);
    else if (previous != mountedVolumeName.get())
        applyDesktopIconVisibility(false);
}

std::optional<QString> AppModel::detectMountedVolume() const {
    const std::array<QString, 3> fixedNames{defaultShareName, legacyVolumeName, productVolumeName};
    for (const QString& name : fixedNames) {
        if (volumes_.hasVolume(name))
            return name;
    }
    if (!selectedShare->isEmpty() && volumes_.hasVolume(selectedShare))
        return selectedShare;
    return std::nullopt;
}

/// Whether the status line speaks of a time before the volume was there.
bool AppModel::isStaleOnceMounted(bool wasMounted) const {
    const QString text = status->toLower();
    return text.contains(u"mount failed"_s) || !wasMounted || text.contains(u"agent token required"_s) ||
           text == u"not connected"_s || (text.contains(u"mounted"_s) && !hasAgentToken());
}

std::optional<std::int64_t> AppModel::shareCount() const {
    if (shares->empty())
        return std::nullopt;
    return static_cast<std::int64_t>(shares->size());
}

QString AppModel::mountedStatusMessage(std::optional<std::int64_t> count) const {
    if (!isMounted())
        return status;
    if (!hasAgentToken()) {
        return u"Volume at "_s + volumes_.mountPointText(**mountedVolumeName) +
               u" — paste Agent token in Settings to list drives"_s;
    }
    if (!count)
        return u"Mounted — use Open in Finder or Add Files / Paste"_s;
    return u"Mounted — "_s + QString::number(*count) + u" share(s)"_s;
}

QString AppModel::shareToMount() const {
    if (!selectedShare->isEmpty())
        return selectedShare;
    return shares->empty() ? QString(defaultShareName) : shares->front().name;
}

Task<> AppModel::mountSelected(bool markSetup) {
    refreshMounted();
    if (isMounted()) {
        status = mountedStatusMessage(shareCount());
        co_return;
    }
    const QString share = shareToMount();
    if (share.isEmpty()) {
        status = u"No share selected"_s;
        co_return;
    }
    if (smbUser->isEmpty() || smbPassword->isEmpty()) {
        status = u"SMB username and password required"_s;
        co_return;
    }
    isBusy = true;
    Task<> mounting = mounter_.mount(serverIP, share, smbUser, smbPassword, productVolumeName);
    const std::optional<QString> failure = co_await failureOf(std::move(mounting));
    if (!failure) {
        selectedShare = share;
        refreshMounted();
        finishMount(hasAgentToken() ? u"Mounted "_s + share : mountedStatusMessage(std::nullopt), markSetup);
    } else {
        refreshMounted();
        if (isMounted()) {
            selectedShare = share;
            finishMount(mountedStatusMessage(shareCount()), markSetup);
        } else {
            status = u"Mount failed: "_s + *failure;
        }
    }
    isBusy = false;
}

void AppModel::finishMount(const QString& newStatus, bool markSetup) {
    applyDesktopIconVisibility(!showDesktopIcon);
    status = newStatus;
    if (!markSetup)
        return;
    followStoredAutoConnect();
    if (autoConnect)
        bringLoginEntryInLine([this] { return isStoredOn(keys::autoConnect); });
}

Task<bool> AppModel::ensureMounted() {
    refreshMounted();
    if (isMounted())
        co_return true;
    co_await mountForAll();
    refreshMounted();
    co_return isMounted();
}

Task<> AppModel::mountForAll() {
    while (!sharedMount_.expired()) {
        const MountSettings tried = sharedMount_.lock()->settings;
        const WakeUp over;
        sharedMount_.lock()->waiting.push_back(over.waker());
        co_await over;
        refreshMounted();
        if (isMounted() || mountSettings() == tried)
            co_return;
    }
    const auto mount = std::make_shared<SharedMount>(platform_.mainLoop, mountSettings());
    sharedMount_ = mount;
    co_await mountSelected(false);
}

Task<> AppModel::unmount() {
    isBusy = true;
    const QString name = mountedVolumeName->value_or(productVolumeName);
    Task<> unmounting = mounter_.unmount(name);
    const std::optional<QString> failure = co_await failureOf(std::move(unmounting));
    if (!failure) {
        status = u"Ejected "_s + name;
        refreshMounted();
    } else {
        refreshMounted();
        status = isMounted() ? u"Eject failed: "_s + *failure : u"Ejected"_s;
    }
    isBusy = false;
}

Task<> AppModel::autoMountIfNeeded() {
    if (!setupComplete || !autoConnect || serverIP->isEmpty() || smbUser->isEmpty() || smbPassword->isEmpty())
        co_return;
    refreshMounted();
    if (isMounted()) {
        status = mountedStatusMessage(shareCount());
        co_return;
    }
    co_await sleepFor(platform_.mainLoop, autoMountDelay);
    co_await mountSelected(false);
}

void AppModel::openMountedVolumeInFinder() {
    refreshMounted();
    if (!isMounted()) {
        status = u"Not mounted — Mount as Tern Vault first"_s;
        return;
    }
    const QString name = **mountedVolumeName;
    platform_.workspace.openFolder(volumes_.mountPoint(name));
    if (!showDesktopIcon)
        applyDesktopIconVisibility(false);
    status = u"Opened "_s + volumes_.mountPointText(name) + u" in Finder"_s;
}

} // namespace ternvault

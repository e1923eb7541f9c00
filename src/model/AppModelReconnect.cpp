#include "model/AppModel.h"

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr std::chrono::seconds pollInterval(12);
/// Least time between two attempts of the monitor; an attempt is allowed once it has passed in full.
constexpr std::chrono::seconds remountCooldown(20);

} // namespace

void AppModel::startReconnectMonitor() {
    const WeakRef<AppModel> weak = anchor_.weak();
    reconnectTimer_ = platform_.mainLoop.every(pollInterval, [weak] {
        if (AppModel* const model = weak.get())
            model->tasks_.spawn(model->pollAndReconnectIfNeeded());
    });
}

Task<> AppModel::pollAndReconnectIfNeeded() {
    refreshMounted();
    if (!setupComplete || !autoConnect || isBusy)
        co_return;
    if (isMounted()) {
        if (status->toLower().contains(u"mount failed"_s))
            status = mountedStatusMessage(shareCount());
        co_return;
    }
    if (smbUser->isEmpty() || smbPassword->isEmpty() || serverIP->isEmpty())
        co_return;
    const SteadyTime now = platform_.clock.steadyNow();
    if (lastRemountAttempt_ && now - *lastRemountAttempt_ < remountCooldown)
        co_return;
    lastRemountAttempt_ = now;
    status = u"Reconnecting…"_s;
    co_await mountSelected(false);
}

} // namespace ternvault

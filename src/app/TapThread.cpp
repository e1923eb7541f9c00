#include "app/TapThread.h"

#include "intake/PasteTapBridge.h"

#include <thread>

namespace ternvault {

void TapThread::start() {
    if (PasteTapBridge::tapThreadStarted.exchange(true))
        return;
    std::packaged_task<void()> run([this] { hook_.installFinderTap(); });
    ended_ = run.get_future();
    std::thread(std::move(run)).detach();
}

bool TapThread::finish(std::chrono::milliseconds grace) {
    tap_.stop();
    return !ended_.valid() || ended_.wait_for(grace) == std::future_status::ready;
}

} // namespace ternvault

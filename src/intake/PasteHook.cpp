#include "intake/PasteHook.h"

#include "intake/PasteTapBridge.h"
#include "intake/PasteboardFiles.h"

#include <utility>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

const auto pasteNotification = u"space.larkspur.ternvault.pasteFromClipboard"_s;

/// With no other modifier, not even Caps Lock.
bool isCommandV(const KeyDown& key) {
    return (key.flags & key_flags::deviceIndependent) == key_flags::command &&
           key.charactersIgnoringModifiers && key.charactersIgnoringModifiers->toLower() == u"v"_s;
}

} // namespace

PasteHook::PasteHook(const Platform& platform, KeyMonitor& keys, NotificationCenter& notifications,
                     TaskScope& tasks)
    : pasteboard_(platform.pasteboard), files_(platform.files), activation_(platform.activation), keys_(keys),
      notifications_(notifications), tasks_(tasks) {}

void PasteHook::installLocalMonitor() {
    if (localMonitor_ == nullptr)
        localMonitor_ = keys_.addLocalMonitor([this](const KeyDown& key) { return takes(key); });
}

bool PasteHook::takes(const KeyDown& key) {
    if (!isCommandV(key) || fileURLsFromPasteboard(pasteboard_, files_).empty() ||
        PasteTapBridge::model.get() == nullptr)
        return false;
    handOver();
    return true;
}

/// Registered twice, one notification would paste twice.
void PasteHook::installRemotePasteTrigger() {
    if (!std::exchange(hasRemoteTrigger_, true))
        notifications_.observe(pasteNotification, [this] { handOver(); });
}

void PasteHook::handOver() {
    PasteTarget* const model = PasteTapBridge::model.get();
    if (model == nullptr)
        return;
    activation_.activate();
    tasks_.spawn(model->pasteFromClipboard());
}

} // namespace ternvault

#include "intake/PasteHook.h"

#include "async/EscapeReport.h"
#include "intake/PasteboardURLs.h"

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

PasteHook::PasteHook(const Platform& platform, const PasteServices& services, TaskScope& tasks)
    : pasteboard_(platform.pasteboard), files_(platform.files), activation_(platform.activation),
      mainLoop_(platform.mainLoop), log_(platform.log), services_(services), tasks_(tasks),
      tapContext_{services.tapPasteboard,
                  platform.files,
                  services.frontmost,
                  services.scripts,
                  platform.locations.volumesRoot(),
                  [this](const std::filesystem::path& folder) {
                      mainLoop_.post([this, folder] { handOver(folder); });
                  }} {}

void PasteHook::installLocalMonitor() {
    if (localMonitor_ == nullptr)
        localMonitor_ = services_.keys.addLocalMonitor([this](const KeyDown& key) { return takes(key); });
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
        services_.notifications.observe(pasteNotification, [this] { handOver(); });
}

void PasteHook::installFinderTap() {
    const auto callback = [this](const TappedEvent& event) {
        try {
            PasteTapBridge::callback(tapContext_, event);
        } catch (...) {
            reportEscapes(log_)(std::current_exception());
        }
    };
    if (services_.eventTap.run(1U << event_types::keyDown, callback))
        return;
    mainLoop_.post([this] { promptForAccessibility(); });
    PasteTapBridge::tapThreadStarted = false;
}

void PasteHook::promptForAccessibility() {
    if (!std::exchange(didPromptAccessibility, true))
        services_.accessibilityPrompt.show();
}

void PasteHook::handOver(const std::filesystem::path& folder) {
    PasteTarget* const model = PasteTapBridge::model.get();
    if (model == nullptr)
        return;
    activation_.activate();
    tasks_.spawn(model->pasteFromClipboardInto(folder));
}

} // namespace ternvault

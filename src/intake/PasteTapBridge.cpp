#include "intake/PasteTapBridge.h"

#include "intake/PasteBoardFiles.h"
#include "intake/PasteboardURLs.h"
#include "platform/KeyNumbers.h"

namespace ternvault {

namespace {

/// Caps Lock does not matter.
bool isPaste(const TappedEvent& event) {
    return event.type == event_types::keyDown && (event.flags & key_flags::chord) == key_flags::command &&
           event.keyCode == key_codes::v;
}

} // namespace

void PasteTapBridge::callback(const Context& context, const TappedEvent& event) {
    if (!isPaste(event) || fileURLsFromPasteboard(context.pasteboard, context.files).empty())
        return;
    const auto folder =
        PasteBoardFiles::finderFolderOnTernVault(context.frontmost, context.scripts, context.volumesRoot);
    if (folder && event.swallow())
        context.scheduleHandOver(*folder);
}

} // namespace ternvault

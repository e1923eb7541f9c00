// What the tap costs who pastes in another program: the decision is the application's.
#include "TapProbe.h"

#include "intake/PasteTapBridge.h"
#include "intake/PasteboardURLs.h"
#include "platform/linux/LinuxFileManager.h"
#include "platform/linux/X11Pasteboard.h"
#include "platform/linux/finder/FinderScripts.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>

int main(int argc, char* argv[]) {
    using namespace ternvault;
    const QCoreApplication application(argc, argv);
    const LinuxFileManager files("/Volumes");
    const X11Pasteboard pasteboard;
    finder::FrontFolderWatch watch;
    watch.start();
    finder::FrontWindow front;
    const finder::X11FrontmostApplication frontmost(front);
    finder::FinderScripts scripts(watch, front);
    if (fileURLsFromPasteboard(pasteboard, files).empty()) {
        std::fputs("no files on the clipboard\n", stderr);
        return EXIT_FAILURE;
    }
    const PasteTapBridge::Context context{pasteboard, files,      frontmost,
                                          scripts,    "/Volumes", [](const auto&) { std::abort(); }};
    const bool areKept =
        measureTap([&context](const TappedEvent& event) { PasteTapBridge::callback(context, event); });
    return areKept ? EXIT_SUCCESS : EXIT_FAILURE;
}

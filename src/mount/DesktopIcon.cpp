#include "mount/DesktopIcon.h"

#include <array>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

const QString redrawScript = u"tell application \"Finder\"\n"
                             "  try\n"
                             "    update every item of desktop\n"
                             "  end try\n"
                             "end tell"_s;

} // namespace

DesktopIcon::DesktopIcon(const Platform& platform)
    : processes_(platform.processes), volumes_(platform.files, platform.locations.volumesRoot()) {}

void DesktopIcon::apply(const Published<bool>& show, bool restartFinder) const {
    const QStringList present = volumesPresent();
    const QString flag = show ? u"nohidden"_s : u"hidden"_s;
    for (const QString& mountPoint : present)
        processes_.run(u"/usr/bin/chflags"_s, {flag, mountPoint});
    processes_.run(u"/usr/bin/defaults"_s,
                   {u"write"_s, u"com.apple.finder"_s, u"ShowMountedServersOnDesktop"_s, u"-bool"_s,
                    show ? u"true"_s : u"false"_s});
    processes_.run(u"/usr/bin/osascript"_s, {u"-e"_s, redrawScript});
    if (restartFinder)
        processes_.run(u"/usr/bin/killall"_s, {u"Finder"_s});
}

/// A volume of another name follows the preference alone.
QStringList DesktopIcon::volumesPresent() const {
    QStringList present;
    for (const QLatin1String name : std::array{defaultShareName, legacyVolumeName}) {
        if (volumes_.hasVolume(name))
            present << volumes_.mountPointText(name);
    }
    return present;
}

} // namespace ternvault

#include "platform/linux/programs/DesktopRefresh.h"

#include "platform/linux/programs/Outcome.h"

namespace ternvault {

using namespace Qt::StringLiterals;

bool isDesktopRedraw(const QStringList& arguments) {
    return arguments.size() == 2 && arguments[0] == "-e"_L1 &&
           arguments[1].startsWith("tell application \"Finder\"\n"_L1) &&
           arguments[1].contains("update every item of desktop"_L1);
}

ProcessResult runKillAll(const QStringList& arguments) {
    if (arguments != QStringList{u"Finder"_s})
        return misused(u"usage: killall Finder"_s);
    return {};
}

} // namespace ternvault

#pragma once

#include "base/ObservableObject.h"
#include "mount/VolumeTable.h"
#include "platform/Platform.h"

namespace ternvault {

/// Whether the volume shows up as an icon on the desktop, set with the system's own programs. Stateless.
class DesktopIcon {
public:
    explicit DesktopIcon(const Platform& platform);

    /// Hides or shows the entries of the product's own volumes, then sets the file manager's preference and
    /// has the desktop redrawn; with `restartFinder` the file manager is restarted too, so that it reads its
    /// preferences anew. `show` is read once for the entries and again for the preference. Blocks until every
    /// program has ended; failures are ignored. Main thread.
    void apply(const Published<bool>& show, bool restartFinder) const;

private:
    QStringList volumesPresent() const;

    ProcessLauncher& processes_;
    VolumeTable volumes_;
};

} // namespace ternvault

#pragma once

#include "platform/linux/X11Connection.h"

#include <QByteArray>
#include <QString>

#include <optional>

#include <sys/types.h>

namespace ternvault::finder {

/// A top-level window, as it tells of itself.
struct WindowInfo {
    xcb_window_t id = XCB_WINDOW_NONE;
    /// The second part of WM_CLASS.
    QByteArray className;
    QString title;
    /// 0 where the program does not tell.
    pid_t process = 0;
    /// Belongs to another window, as a dialog does.
    bool isTransient = false;
    /// Name and object on the session bus, where the toolkit (GTK) exports its windows there.
    QString busName;
    QString objectPath;
};

/// Reads which window has the user's keys, over a connection of its own that is made at the first question.
/// One thread.
class FrontWindow {
public:
    /// Nothing where no window is active, or the display cannot be reached.
    std::optional<WindowInfo> read();

    /// From now on `hasChanged` can tell; the descriptor is readable when it may. Nothing where the display
    /// cannot be reached.
    std::optional<int> follow();
    /// Whether another window, or the title of the one read last, may have come since the last question.
    bool hasChanged();

    /// False before the first question, and once the display is lost; the next question connects anew.
    bool isConnected() const;

private:
    bool connect();

    x11::Connection connection_;
    struct {
        xcb_atom_t activeWindow, title, process, busName, objectPath, text;
    } atoms_{};
    bool isFollowing_ = false;
    /// The one read last.
    xcb_window_t window_ = XCB_WINDOW_NONE;
};

} // namespace ternvault::finder

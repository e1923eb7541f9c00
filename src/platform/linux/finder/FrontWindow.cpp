#include "platform/linux/finder/FrontWindow.h"

#include <QList>

#include <cstring>

namespace ternvault::finder {

namespace {

/// In units of four bytes; a longer property is cut.
constexpr std::uint32_t longestProperty = 1024;

xcb_get_property_cookie_t ask(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property,
                              xcb_atom_t type) {
    return xcb_get_property(connection, 0, window, property, type, 0, longestProperty);
}

QByteArray answer(xcb_connection_t* connection, xcb_get_property_cookie_t cookie) {
    const x11::Owned<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply)
        return {};
    return {static_cast<const char*>(xcb_get_property_value(reply.get())),
            xcb_get_property_value_length(reply.get())};
}

std::uint32_t numberIn(const QByteArray& value) {
    std::uint32_t number = 0;
    if (value.size() >= qsizetype(sizeof number))
        std::memcpy(&number, value.constData(), sizeof number);
    return number;
}

void hearOfProperties(xcb_connection_t* connection, xcb_window_t window) {
    constexpr std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection, window, XCB_CW_EVENT_MASK, &events);
    xcb_flush(connection);
}

} // namespace

bool FrontWindow::isConnected() const {
    return x11::isConnected(connection_);
}

bool FrontWindow::connect() {
    if (isConnected())
        return true;
    connection_ = x11::connect();
    if (!connection_)
        return false;
    xcb_connection_t* const display = connection_.get();
    atoms_ = {x11::atom(display, "_NET_ACTIVE_WINDOW"),
              x11::atom(display, "_NET_WM_NAME"),
              x11::atom(display, "_NET_WM_PID"),
              x11::atom(display, "_GTK_UNIQUE_BUS_NAME"),
              x11::atom(display, "_GTK_WINDOW_OBJECT_PATH"),
              x11::atom(display, "UTF8_STRING")};
    return true;
}

std::optional<WindowInfo> FrontWindow::read() {
    if (!connect())
        return std::nullopt;
    xcb_connection_t* const display = connection_.get();
    const xcb_window_t window = numberIn(
        answer(display, ask(display, x11::rootWindow(display), atoms_.activeWindow, XCB_ATOM_WINDOW)));
    if (window == XCB_WINDOW_NONE)
        return std::nullopt;
    // All are asked before the first answer is waited for.
    const auto className = ask(display, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING);
    const auto title = ask(display, window, atoms_.title, atoms_.text);
    const auto busName = ask(display, window, atoms_.busName, atoms_.text);
    const auto objectPath = ask(display, window, atoms_.objectPath, atoms_.text);
    const auto process = ask(display, window, atoms_.process, XCB_ATOM_CARDINAL);
    const auto owner = ask(display, window, XCB_ATOM_WM_TRANSIENT_FOR, XCB_ATOM_WINDOW);

    window_ = window;
    if (isFollowing_)
        hearOfProperties(display, window);
    WindowInfo info;
    info.id = window;
    info.className = answer(display, className).split('\0').value(1);
    info.title = QString::fromUtf8(answer(display, title));
    info.process = static_cast<pid_t>(numberIn(answer(display, process)));
    info.isTransient = !answer(display, owner).isEmpty();
    info.busName = QString::fromUtf8(answer(display, busName));
    info.objectPath = QString::fromUtf8(answer(display, objectPath));
    return info;
}

std::optional<int> FrontWindow::follow() {
    if (!connect())
        return std::nullopt;
    isFollowing_ = true;
    hearOfProperties(connection_.get(), x11::rootWindow(connection_.get()));
    return xcb_get_file_descriptor(connection_.get());
}

bool FrontWindow::hasChanged() {
    bool changed = false;
    if (!isConnected())
        return changed;
    while (const x11::Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())}) {
        constexpr unsigned withoutSender = 0x7f;
        if ((event->response_type & withoutSender) != XCB_PROPERTY_NOTIFY)
            continue;
        const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(*event);
        changed |=
            change.atom == atoms_.activeWindow || (change.atom == atoms_.title && change.window == window_);
    }
    return changed;
}

} // namespace ternvault::finder

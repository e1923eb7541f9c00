#include "platform/linux/X11Windows.h"

#include "platform/linux/X11Connection.h"

#include <QGuiApplication>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace ternvault::x11 {

namespace {

/// Null where the display is not X11.
xcb_connection_t* connection() {
    const auto* const x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 != nullptr ? x11->connection() : nullptr;
}

void sendToRoot(xcb_connection_t* connection, const xcb_client_message_event_t& message, std::uint32_t mask) {
    xcb_send_event(connection, 0, rootWindow(connection), mask, reinterpret_cast<const char*>(&message));
}

} // namespace

void activateWindow(WId window) {
    xcb_connection_t* const display = connection();
    if (display == nullptr)
        return;
    // Window managers keep an application from taking the focus by itself, but do what a pager asks for.
    constexpr std::uint32_t fromPager = 2;
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = static_cast<xcb_window_t>(window);
    message.type = atom(display, "_NET_ACTIVE_WINDOW");
    message.data.data32[0] = fromPager;
    message.data.data32[1] = XCB_CURRENT_TIME;
    sendToRoot(display, message, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT);
    xcb_flush(display);
}

void endStartup(const QByteArray& startupId) {
    xcb_connection_t* const display = connection();
    if (display == nullptr || startupId.isEmpty())
        return;
    QByteArray escaped = startupId;
    escaped.replace('\\', "\\\\").replace('"', "\\\"");
    // Its terminating zero belongs to the text that is sent.
    const QByteArray text = "remove: ID=\"" + escaped + '"';
    const std::string_view bytes(text.constData(), static_cast<std::size_t>(text.size()) + 1);

    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 8;
    message.window = rootWindow(display);
    message.type = atom(display, "_NET_STARTUP_INFO_BEGIN");
    for (std::size_t sent = 0; sent < bytes.size(); sent += sizeof message.data.data8) {
        const std::string_view part = bytes.substr(sent, sizeof message.data.data8);
        std::fill(std::begin(message.data.data8), std::end(message.data.data8), std::uint8_t{0});
        std::memcpy(message.data.data8, part.data(), part.size());
        sendToRoot(display, message, XCB_EVENT_MASK_PROPERTY_CHANGE);
        message.type = atom(display, "_NET_STARTUP_INFO");
    }
    xcb_flush(display);
}

} // namespace ternvault::x11

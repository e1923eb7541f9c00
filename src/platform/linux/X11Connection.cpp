#include "platform/linux/X11Connection.h"

namespace ternvault::x11 {

Connection connect() {
    Connection connection(xcb_connect(nullptr, nullptr));
    return isConnected(connection) ? std::move(connection) : nullptr;
}

bool isConnected(const Connection& connection) {
    return connection != nullptr && xcb_connection_has_error(connection.get()) == 0;
}

xcb_window_t rootWindow(xcb_connection_t* connection) {
    return xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
}

xcb_atom_t atom(xcb_connection_t* connection, std::string_view name) {
    const xcb_intern_atom_cookie_t cookie =
        xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

} // namespace ternvault::x11

#pragma once

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <string_view>

namespace ternvault::x11 {

struct FreeDeleter {
    void operator()(void* memory) const { std::free(memory); }
};
/// An answer of the X server, or one of its events or errors.
template <typename Answer>
using Owned = std::unique_ptr<Answer, FreeDeleter>;

struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

/// A connection of one's own, apart from the toolkit's, to the display of the environment. Null where it
/// cannot be reached.
Connection connect();

/// False also where there never was one.
bool isConnected(const Connection& connection);

/// Of the first screen, which is the only one on today's servers.
xcb_window_t rootWindow(xcb_connection_t* connection);

/// Waits for the server. XCB_ATOM_NONE when the connection is broken.
xcb_atom_t atom(xcb_connection_t* connection, std::string_view name);

} // namespace ternvault::x11

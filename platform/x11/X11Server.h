#pragma once

#include <cstdlib>
#include <memory>
#include <string>
#include <xcb/xcb.h>

namespace qm {

struct FreeDeleter {
    void operator()(void *memory) const { std::free(memory); }
};
template<class T>
using Reply = std::unique_ptr<T, FreeDeleter>; // result of xcb_..._reply; null if the server refused

struct DisconnectDeleter {
    void operator()(xcb_connection_t *connection) const { xcb_disconnect(connection); }
};

// A connection to the X server and screen named by DISPLAY.
struct X11Server {
    std::unique_ptr<xcb_connection_t, DisconnectDeleter> connection; // null if there is no server to talk to
    const xcb_screen_t *screen = nullptr;                            // belongs to the connection
    int screenNumber = 0;

    static X11Server connect();

    // The selection of this screen that a desktop's component owns, "_NET_SYSTEM_TRAY_S" say; XCB_ATOM_NONE if refused.
    xcb_atom_t screenAtom(const std::string &prefix) const;
    bool isOwned(xcb_atom_t selection) const;
};

} // namespace qm

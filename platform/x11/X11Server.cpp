#include "platform/x11/X11Server.h"

namespace qm {

X11Server X11Server::connect()
{
    X11Server server;
    server.connection.reset(xcb_connect(nullptr, &server.screenNumber));
    if (xcb_connection_has_error(server.connection.get()))
        return {};
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(server.connection.get()));
    for (int i = 0; i < server.screenNumber; ++i)
        xcb_screen_next(&screens);
    server.screen = screens.data;
    return server;
}

} // namespace qm

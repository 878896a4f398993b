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

xcb_atom_t X11Server::screenAtom(const std::string &prefix) const
{
    const std::string name = prefix + std::to_string(screenNumber);
    const Reply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
        connection.get(), xcb_intern_atom(connection.get(), 0, uint16_t(name.size()), name.c_str()), nullptr));
    return atom ? atom->atom : xcb_atom_t(XCB_ATOM_NONE);
}

bool X11Server::isOwned(xcb_atom_t selection) const
{
    if (selection == XCB_ATOM_NONE)
        return false;
    const Reply<xcb_get_selection_owner_reply_t> answer(
        xcb_get_selection_owner_reply(connection.get(), xcb_get_selection_owner(connection.get(), selection), nullptr));
    return answer && answer->owner != XCB_NONE;
}

} // namespace qm

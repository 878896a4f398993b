#include "platform/NativeLook.h"
#include "platform/x11/X11Server.h"

#include <string>

namespace qm {

std::optional<QColor> NativeLook::accent()
{
    return std::nullopt;
}

QImage NativeLook::symbol(const QString &, QSize)
{
    return {};
}

// A compositing manager owns a selection (Extended Window Manager Hints). Without an X server it is always there.
bool NativeLook::blendsWindows()
{
    const X11Server server = X11Server::connect();
    xcb_connection_t *connection = server.connection.get();
    if (!connection)
        return true;
    const std::string name = "_NET_WM_CM_S" + std::to_string(server.screenNumber);
    const Reply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, uint16_t(name.size()), name.c_str()), nullptr));
    if (!atom)
        return false;
    const Reply<xcb_get_selection_owner_reply_t> answer(
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, atom->atom), nullptr));
    return answer && answer->owner != XCB_NONE;
}

bool NativeLook::trayTintsIcons()
{
    return false;
}

} // namespace qm

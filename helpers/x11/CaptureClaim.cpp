#include "helpers/x11/CaptureClaim.h"

namespace qm {

bool CaptureClaim::take(XConnection &server)
{
    xcb_connection_t *connection = server.get();
    const xcb_window_t owner = xcb_generate_id(connection);
    xcb_create_window(connection, 0, owner, server.root(), -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_grab_server(connection); // makes check and claim atomic
    const bool free = server.selectionOwner(Atom::captureSelection) == XCB_WINDOW_NONE;
    if (free)
        xcb_set_selection_owner(connection, owner, server.atom(Atom::captureSelection), XCB_CURRENT_TIME);
    xcb_ungrab_server(connection);
    xcb_flush(connection);
    return free;
}

void CaptureClaim::release(XConnection &server)
{
    xcb_set_selection_owner(server.get(), XCB_WINDOW_NONE, server.atom(Atom::captureSelection), XCB_CURRENT_TIME);
    xcb_flush(server.get());
}

} // namespace qm

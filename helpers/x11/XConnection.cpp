#include "helpers/x11/XConnection.h"

#include <cstdio>
#include <cstring>
#include <xcb/composite.h>
#include <xcb/randr.h>
#include <xcb/render.h>
#include <xcb/shm.h>

namespace qm {

namespace {

constexpr const char *atomNames[] = {
    "_QUILLMERE_CAPTURE",
    "_NET_SUPPORTING_WM_CHECK",
    "_NET_CLIENT_LIST_STACKING",
    "_NET_CURRENT_DESKTOP",
    "_NET_WM_DESKTOP",
    "_NET_WM_NAME",
    "_NET_WM_STATE",
    "_NET_WM_STATE_HIDDEN",
    "_NET_FRAME_EXTENTS",
    "_GTK_FRAME_EXTENTS",
    nullptr /* named after the screen */,
};
static_assert(std::size(atomNames) == size_t(Atom::count));

} // namespace

std::unique_ptr<XConnection> XConnection::open()
{
    X11Server server = X11Server::connect();
    if (!server.connection)
        return nullptr;
    xcb_connection_t *connection = server.connection.get();
    const int screenNumber = server.screenNumber;
    std::unique_ptr<XConnection> opened(new XConnection(std::move(server)));

    for (xcb_extension_t *extension : {&xcb_shm_id, &xcb_randr_id, &xcb_composite_id, &xcb_render_id})
        xcb_prefetch_extension_data(connection, extension);
    char compositor[32];
    std::snprintf(compositor, sizeof compositor, "_NET_WM_CM_S%d", screenNumber);
    std::array<xcb_intern_atom_cookie_t, size_t(Atom::count)> cookies;
    for (size_t i = 0; i < cookies.size(); ++i) {
        const char *name = atomNames[i] ? atomNames[i] : compositor;
        cookies[i] = xcb_intern_atom(connection, 0, uint16_t(std::strlen(name)), name);
    }
    for (size_t i = 0; i < cookies.size(); ++i) {
        const Reply<xcb_intern_atom_reply_t> answer(xcb_intern_atom_reply(connection, cookies[i], nullptr));
        opened->m_atoms[i] = answer ? answer->atom : xcb_atom_t(XCB_ATOM_NONE);
    }
    return opened;
}

XConnection::XConnection(X11Server server)
    : m_server(std::move(server))
{
}

bool XConnection::hasExtension(xcb_extension_t &extension) const
{
    const xcb_query_extension_reply_t *answer = xcb_get_extension_data(get(), &extension);
    return answer && answer->present;
}

xcb_window_t XConnection::selectionOwner(Atom selection) const
{
    const Reply<xcb_get_selection_owner_reply_t> answer(
        xcb_get_selection_owner_reply(get(), xcb_get_selection_owner(get(), atom(selection)), nullptr));
    return answer ? answer->owner : xcb_window_t(XCB_WINDOW_NONE);
}

Reply<xcb_get_property_reply_t> XConnection::property(xcb_window_t window, xcb_atom_t name) const
{
    return Reply<xcb_get_property_reply_t>(
        xcb_get_property_reply(get(), xcb_get_property(get(), 0, window, name, XCB_ATOM_ANY, 0, 1 << 16), nullptr));
}

} // namespace qm

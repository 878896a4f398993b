#pragma once

#include "platform/x11/X11Server.h"

#include <QRect>

#include <array>

namespace qm {

enum class Atom {
    captureSelection,
    supportingWmCheck,
    clientListStacking,
    currentDesktop,
    wmDesktop,
    wmName,
    wmState,
    stateHidden,
    frameExtents,
    gtkFrameExtents,
    compositor,
    count
};

// The connection to the X server. One thread. Requests are sent with XCB's own calls on get(); this adds what they all
// need to know about the screen. Everything known at the start is queried in one round trip.
class XConnection
{
public:
    // Null if there is no server to talk to.
    static std::unique_ptr<XConnection> open();
    Q_DISABLE_COPY_MOVE(XConnection)

    xcb_connection_t *get() const { return m_server.connection.get(); }
    bool isBroken() const { return xcb_connection_has_error(get()) != 0; }
    xcb_window_t root() const { return screen().root; }
    xcb_visualid_t visual() const { return screen().root_visual; }
    quint8 depth() const { return screen().root_depth; }
    const xcb_screen_t &screen() const { return *m_server.screen; }
    QRect area() const { return {0, 0, screen().width_in_pixels, screen().height_in_pixels}; } // pixels
    xcb_atom_t atom(Atom name) const { return m_atoms[size_t(name)]; }

    bool hasExtension(xcb_extension_t &extension) const;
    xcb_window_t selectionOwner(Atom selection) const; // XCB_WINDOW_NONE if there is none
    // Up to 256 kB of it; null if the server refused, empty if the window has none.
    Reply<xcb_get_property_reply_t> property(xcb_window_t window, xcb_atom_t name) const;

private:
    explicit XConnection(X11Server server);

    const X11Server m_server;
    std::array<xcb_atom_t, size_t(Atom::count)> m_atoms = {};
};

} // namespace qm

#pragma once

#include <QRect>

#include <array>
#include <cstdlib>
#include <memory>
#include <xcb/xcb.h>

namespace qm {

struct FreeDeleter {
    void operator()(void *memory) const { std::free(memory); }
};
template<class T>
using Reply = std::unique_ptr<T, FreeDeleter>; // what xcb_..._reply answers; null when the server refused

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
// need to know about the screen. Everything asked at the start is asked in one round trip.
class XConnection
{
public:
    // Null when there is no server to talk to.
    static std::unique_ptr<XConnection> open();
    ~XConnection();
    Q_DISABLE_COPY_MOVE(XConnection)

    xcb_connection_t *get() const { return m_connection; }
    bool isBroken() const { return xcb_connection_has_error(m_connection) != 0; }
    xcb_window_t root() const { return m_screen->root; }
    xcb_visualid_t visual() const { return m_screen->root_visual; }
    quint8 depth() const { return m_screen->root_depth; }
    const xcb_screen_t &screen() const { return *m_screen; }
    QRect area() const { return {0, 0, m_screen->width_in_pixels, m_screen->height_in_pixels}; } // pixels
    xcb_atom_t atom(Atom name) const { return m_atoms[size_t(name)]; }

    bool hasExtension(xcb_extension_t &extension) const;
    xcb_window_t selectionOwner(Atom selection) const; // 0: none
    // Up to 256 kB of it; null when the server refused, empty when the window has none.
    Reply<xcb_get_property_reply_t> property(xcb_window_t window, xcb_atom_t name) const;

private:
    XConnection(xcb_connection_t *connection, const xcb_screen_t *screen);

    xcb_connection_t *m_connection;
    const xcb_screen_t *m_screen;
    std::array<xcb_atom_t, size_t(Atom::count)> m_atoms = {};
};

} // namespace qm

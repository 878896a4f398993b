#include "helpers/x11/Curtain.h"

#include "helpers/curtain/Dimming.h"
#include "helpers/x11/RenderDrawing.h"

namespace qm {

Curtain::Curtain(XConnection &server, Kind kind)
    : m_server(server)
    , m_input(server)
    , m_frozen(xcb_generate_id(server.get()))
    , m_window(xcb_generate_id(server.get()))
{
    xcb_grab_server(server.get()); // windows, pixels and input belong to one moment
    if (kind == Kind::covering)
        m_input.take(XCB_CURSOR_NONE);
    freeze();
    m_windows = surveyWindows(server);
    xcb_ungrab_server(server.get());
    if (kind == Kind::covering)
        show();
    else
        xcb_flush(server.get());
}

Curtain::~Curtain()
{
    if (m_isShown)
        xcb_destroy_window(m_server.get(), m_window);
    xcb_free_pixmap(m_server.get(), m_frozen);
    xcb_flush(m_server.get());
}

void Curtain::lift()
{
    xcb_unmap_window(m_server.get(), m_window);
    xcb_flush(m_server.get());
}

void Curtain::freeze()
{
    xcb_connection_t *connection = m_server.get();
    const xcb_screen_t &screen = m_server.screen();
    xcb_create_pixmap(connection, screen.root_depth, m_frozen, screen.root, screen.width_in_pixels,
                      screen.height_in_pixels);
    const xcb_gcontext_t context = xcb_generate_id(connection);
    const uint32_t windowsToo = XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS;
    xcb_create_gc(connection, context, screen.root, XCB_GC_SUBWINDOW_MODE, &windowsToo);
    xcb_copy_area(connection, screen.root, m_frozen, context, 0, 0, 0, 0, screen.width_in_pixels,
                  screen.height_in_pixels);
    xcb_free_gc(connection, context);
    xcb_flush(connection); // the server copies while we query the rest
}

void Curtain::show()
{
    xcb_connection_t *connection = m_server.get();
    const xcb_screen_t &screen = m_server.screen();
    // No background: the server would clear the screen before the first paint.
    const uint32_t values[] = {XCB_BACK_PIXMAP_NONE, 1};
    xcb_create_window(connection, screen.root_depth, m_window, screen.root, 0, 0, screen.width_in_pixels,
                      screen.height_in_pixels, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXMAP | XCB_CW_OVERRIDE_REDIRECT, values);
    constexpr char windowClass[] = "qmcapture\0qmcapture"; // two strings, each terminated by a zero
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, m_window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                        sizeof windowClass, windowClass);
    constexpr uint32_t rootEvents = XCB_EVENT_MASK_STRUCTURE_NOTIFY; // it is resized when monitors come and go
    xcb_change_window_attributes(connection, screen.root, XCB_CW_EVENT_MASK, &rootEvents);
    xcb_map_window(connection, m_window);
    m_isShown = true;

    const xcb_gcontext_t context = xcb_generate_id(connection);
    constexpr uint32_t noEvents = 0; // the copy would generate exposure events
    xcb_create_gc(connection, context, m_window, XCB_GC_GRAPHICS_EXPOSURES, &noEvents);
    xcb_copy_area(connection, m_frozen, m_window, context, 0, 0, 0, 0, screen.width_in_pixels, screen.height_in_pixels);
    xcb_free_gc(connection, context);
    m_dimmed = RenderDrawing(m_server).dim(m_window, dimAlpha);
    constexpr uint32_t ownEvents = XCB_EVENT_MASK_EXPOSURE; // set after mapping, whose exposure is already handled
    xcb_change_window_attributes(connection, m_window, XCB_CW_EVENT_MASK, &ownEvents);
    xcb_flush(connection);
}

} // namespace qm

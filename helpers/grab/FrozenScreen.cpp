#include "helpers/grab/FrozenScreen.h"

#include <QRegion>

#include <algorithm>

namespace qm {

FrozenScreen::FrozenScreen(XConnection &server)
    : m_server(server)
    , m_copy(xcb_generate_id(server.get()))
    , m_grab(server, server.area().size())
{
    const QSize size = area().size();
    xcb_create_pixmap(server.get(), server.depth(), m_copy, server.root(), uint16_t(size.width()),
                      uint16_t(size.height()));
    const xcb_gcontext_t context = xcb_generate_id(server.get());
    const uint32_t windowsToo = XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS;
    xcb_create_gc(server.get(), context, server.root(), XCB_GC_SUBWINDOW_MODE, &windowsToo);
    xcb_copy_area(server.get(), server.root(), m_copy, context, 0, 0, 0, 0, uint16_t(size.width()),
                  uint16_t(size.height()));
    xcb_free_gc(server.get(), context);
    xcb_flush(server.get()); // the server copies while the rest is asked

    m_composited = server.selectionOwner(Atom::compositor) != XCB_WINDOW_NONE;
    m_windows = screenWindows(server);
    m_monitors = qm::monitors(server);
    applyScales(m_monitors, ScaleSettings::read(server));
}

FrozenScreen::~FrozenScreen()
{
    xcb_free_pixmap(m_server.get(), m_copy);
}

void FrozenScreen::copyTo(xcb_window_t window) const
{
    const xcb_gcontext_t context = xcb_generate_id(m_server.get());
    const uint32_t noEvents = 0; // exposures would be told of each copy
    xcb_create_gc(m_server.get(), context, window, XCB_GC_GRAPHICS_EXPOSURES, &noEvents);
    xcb_copy_area(m_server.get(), m_copy, window, context, 0, 0, 0, 0, uint16_t(area().width()),
                  uint16_t(area().height()));
    xcb_free_gc(m_server.get(), context);
}

const QImage &FrozenScreen::pixels()
{
    if (!m_pixels.isNull())
        return m_pixels;
    m_pixels = m_grab.take(m_copy, m_server.depth(), area());
    QRegion unseen = area();
    for (const Monitor &monitor : std::as_const(m_monitors))
        unseen -= monitor.area;
    for (const QRect &gap : unseen) {
        for (int y = gap.top(); y <= gap.bottom() && !m_pixels.isNull(); ++y) {
            auto *row = reinterpret_cast<quint32 *>(m_pixels.scanLine(y));
            std::fill(row + gap.left(), row + gap.right() + 1, 0xff000000);
        }
    }
    return m_pixels;
}

} // namespace qm

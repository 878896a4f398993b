#include "helpers/x11/overlay/FrozenX11Screen.h"

#include "helpers/x11/overlay/SurveyedWindows.h"
#include "helpers/x11/overlay/X11Monitors.h"

#include <QRegion>

#include <algorithm>
#include <xcb/composite.h>

namespace qm {

FrozenX11Screen::FrozenX11Screen(Curtain &curtain)
    : m_curtain(curtain)
    , m_monitors(x11Monitors(curtain.server()))
    , m_windows(screenWindows(curtain.windows(), curtain.server().area()))
    , m_grab(curtain.server(), curtain.server().area().size())
{
}

std::optional<QPoint> FrozenX11Screen::pointer()
{
    xcb_connection_t *connection = m_curtain.server().get();
    const Reply<xcb_query_pointer_reply_t> pointer(
        xcb_query_pointer_reply(connection, xcb_query_pointer(connection, m_curtain.server().root()), nullptr));
    return pointer ? std::optional(QPoint(pointer->root_x, pointer->root_y)) : std::nullopt;
}

const QImage &FrozenX11Screen::pixels()
{
    if (!m_pixels.isNull())
        return m_pixels;
    m_pixels = m_grab.take(m_curtain.frozen(), m_curtain.server().depth(), area());
    QRegion unseen = area();
    for (const Monitor &monitor : m_monitors)
        unseen -= monitor.area;
    for (const QRect &gap : unseen) {
        for (int y = gap.top(); y <= gap.bottom() && !m_pixels.isNull(); ++y) {
            auto *row = reinterpret_cast<quint32 *>(m_pixels.scanLine(y));
            std::fill(row + gap.left(), row + gap.right() + 1, 0xff000000);
        }
    }
    return m_pixels;
}

QImage FrozenX11Screen::windowPixels(int index)
{
    if (!isComposited())
        return {};
    const ScreenWindow &window = m_windows[index];
    XConnection &server = m_curtain.server();
    ScreenGrab grab(server, window.frame.size());
    const xcb_pixmap_t pixmap = xcb_generate_id(server.get());
    xcb_composite_name_window_pixmap(server.get(), window.top, pixmap);
    const QImage pixels = grab.take(pixmap, window.depth, window.frame.translated(-window.topArea.topLeft()));
    xcb_free_pixmap(server.get(), pixmap);
    return pixels.copy();
}

} // namespace qm

#include "tests/support/PatternWindow.h"

#include "tests/support/Desktop.h"

namespace qm {

quint32 PatternWindow::makePixmap(xcb_connection_t *connection, const QImage &picture)
{
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const uint8_t depth = picture.hasAlphaChannel() ? 32 : 24;
    const xcb_pixmap_t pixmap = xcb_generate_id(connection);
    xcb_create_pixmap(connection, depth, pixmap, root, uint16_t(picture.width()), uint16_t(picture.height()));
    const xcb_gcontext_t context = xcb_generate_id(connection);
    xcb_create_gc(connection, context, pixmap, 0, nullptr);
    const int bytesPerLine = picture.width() * 4;
    const int rows = qMax(1, (1 << 17) / bytesPerLine); // a request holds 256 kB
    for (int y = 0; y < picture.height(); y += rows) {
        const int count = qMin(rows, picture.height() - y);
        xcb_put_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context, uint16_t(picture.width()),
                      uint16_t(count), 0, int16_t(y), 0, depth, uint32_t(bytesPerLine * count),
                      picture.constScanLine(y));
    }
    xcb_free_gc(connection, context);
    return pixmap;
}

// With alpha: the first visual of 32 bits is the one.
static xcb_visualid_t visualOf(const xcb_screen_t *screen, bool alpha)
{
    auto depths = xcb_screen_allowed_depths_iterator(screen);
    while (alpha && depths.data->depth != 32)
        xcb_depth_next(&depths);
    return alpha ? xcb_depth_visuals(depths.data)->visual_id : screen->root_visual;
}

PatternWindow::PatternWindow(Desktop &desktop, const QString &title, const QRect &area, int seed, Kind kind)
    : PatternWindow(desktop, title, area, makePattern(area.size(), seed), kind)
{
}

PatternWindow::PatternWindow(Desktop &desktop, const QString &title, const QRect &area, const QImage &picture,
                             Kind kind)
    : m_desktop(desktop)
    , m_id(xcb_generate_id(desktop.connection()))
    , m_title(title)
    , m_area(area)
    , m_pattern(picture)
{
    xcb_connection_t *connection = desktop.connection();
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    const bool alpha = picture.hasAlphaChannel();
    const xcb_pixmap_t pixmap = makePixmap(connection, picture);
    const xcb_colormap_t colors = xcb_generate_id(connection);
    xcb_create_colormap(connection, XCB_COLORMAP_ALLOC_NONE, colors, screen->root, visualOf(screen, alpha));
    const uint32_t values[] = {pixmap, 0, kind == Kind::unmanaged, colors};
    xcb_create_window(connection, alpha ? 32 : 24, m_id, screen->root, int16_t(area.x()), int16_t(area.y()),
                      uint16_t(area.width()), uint16_t(area.height()), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      visualOf(screen, alpha),
                      XCB_CW_BACK_PIXMAP | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_COLORMAP, values);
    xcb_free_pixmap(connection, pixmap);
    const QByteArray name = title.toUtf8();
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, m_id, desktop.atom("_NET_WM_NAME"),
                        desktop.atom("UTF8_STRING"), 8, uint32_t(name.size()), name.constData());
    // ICCCM 4.1.2.3, WM_NORMAL_HINTS: the place and size are the user's wish (flags 1, 2) and the gravity is static (512, 10).
    uint32_t hints[18] = {1 | 2 | 512, uint32_t(area.x()), uint32_t(area.y()), uint32_t(area.width()),
                          uint32_t(area.height())};
    hints[17] = 10;
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, m_id, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS, 32,
                        18, hints);
    xcb_map_window(connection, m_id);
    xcb_flush(connection);
    // The last thing to come about is that the pattern is seen; by then the window manager has placed it.
    const bool shown = Desktop::wait([&] {
        const bool isKnown = kind == Kind::unmanaged || m_desktop.windowTitled(title);
        const QPoint last = m_pattern.rect().bottomRight();
        return isKnown && (alpha || m_desktop.pixel(content().bottomRight()) == m_pattern.pixelColor(last));
    });
    if (!shown)
        qFatal("the window \"%s\" is not shown", qPrintable(title));
}

PatternWindow::~PatternWindow()
{
    xcb_destroy_window(m_desktop.connection(), m_id);
    xcb_flush(m_desktop.connection());
    Desktop::wait([this] { return !m_desktop.windowTitled(m_title); });
}

QRect PatternWindow::content() const
{
    const std::optional<Desktop::Window> window = m_desktop.windowTitled(m_title);
    return window ? window->content : m_area;
}

QRect PatternWindow::frame() const
{
    const std::optional<Desktop::Window> window = m_desktop.windowTitled(m_title);
    return window ? window->frame : m_area;
}

void PatternWindow::hide()
{
    xcb_unmap_window(m_desktop.connection(), m_id);
    xcb_flush(m_desktop.connection());
}

QImage PatternWindow::makePattern(const QSize &size, int seed)
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        auto *row = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            // Red and green tell the place to a person who looks; blue is noise, which no encoder makes small.
            const quint32 noise = (quint32(x) * 2654435761u ^ quint32(y) * 2246822519u) * quint32(2 * seed + 1);
            row[x] = qRgb((x + 37 * seed) & 255, (y + 91 * seed) & 255, int(noise >> 24));
        }
    }
    return image;
}

} // namespace qm

#include "tests/support/PatternWindow.h"

#include "tests/support/Desktop.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <xcb/xcb.h>

namespace qm {

namespace {

void putImage(xcb_connection_t *connection, xcb_drawable_t target, const QImage &image)
{
    const xcb_gcontext_t context = xcb_generate_id(connection);
    xcb_create_gc(connection, context, target, 0, nullptr);
    const int bytesPerLine = image.width() * 4;
    const int rows = qMax(1, (1 << 17) / bytesPerLine); // a request holds 256 kB
    for (int y = 0; y < image.height(); y += rows) {
        const int count = qMin(rows, image.height() - y);
        xcb_put_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, target, context, uint16_t(image.width()), uint16_t(count),
                      0, int16_t(y), 0, 24, uint32_t(bytesPerLine * count), image.constScanLine(y));
    }
    xcb_free_gc(connection, context);
}

} // namespace

PatternWindow::PatternWindow(Desktop &desktop, const QString &title, const QRect &area, int seed, Kind kind)
    : PatternWindow(desktop, title, area, makePattern(area.size(), seed), kind)
{
}

PatternWindow::PatternWindow(Desktop &desktop, const QString &title, const QRect &area, const QImage &picture,
                             Kind kind)
    : m_desktop(desktop)
    , m_area(area)
    , m_kind(kind)
    , m_pattern(picture)
{
    xcb_connection_t *connection = desktop.connection();
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    const xcb_pixmap_t pixmap = xcb_generate_id(connection);
    xcb_create_pixmap(connection, screen->root_depth, pixmap, screen->root, uint16_t(area.width()),
                      uint16_t(area.height()));
    putImage(connection, pixmap, m_pattern);

    m_id = xcb_generate_id(connection);
    const uint32_t values[] = {pixmap, kind == Kind::unmanaged};
    xcb_create_window(connection, screen->root_depth, m_id, screen->root, int16_t(area.x()), int16_t(area.y()),
                      uint16_t(area.width()), uint16_t(area.height()), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      screen->root_visual, XCB_CW_BACK_PIXMAP | XCB_CW_OVERRIDE_REDIRECT, values);
    xcb_free_pixmap(connection, pixmap);
    const QByteArray name = title.toUtf8();
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, m_id, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        uint32_t(name.size()), name.constData());
    const auto atom = [connection](const char *text) {
        xcb_intern_atom_reply_t *answer = xcb_intern_atom_reply(
            connection, xcb_intern_atom(connection, 0, uint16_t(std::strlen(text)), text), nullptr);
        const xcb_atom_t value = answer ? answer->atom : 0;
        std::free(answer);
        return value;
    };
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, m_id, atom("_NET_WM_NAME"), atom("UTF8_STRING"), 8,
                        uint32_t(name.size()), name.constData());
    // ICCCM 4.1.2.3, WM_NORMAL_HINTS: the place and size are the user's wish (flags 1, 2) and the gravity is static (512, 10).
    uint32_t hints[18] = {1 | 2 | 512};
    hints[1] = uint32_t(area.x());
    hints[2] = uint32_t(area.y());
    hints[3] = uint32_t(area.width());
    hints[4] = uint32_t(area.height());
    hints[17] = 10;
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, m_id, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS, 32,
                        18, hints);
    xcb_map_window(connection, m_id);
    xcb_flush(connection);
    // The last thing to come about is that the pattern is seen; by then the window manager has placed it.
    const bool shown = Desktop::wait([&] {
        const QRect now = content();
        return now.isValid() && m_desktop.picture({now.bottomRight(), QSize(1, 1)}) ==
                                    m_pattern.copy(QRect(m_pattern.rect().bottomRight(), QSize(1, 1)));
    });
    if (!shown)
        qFatal("the window \"%s\" is not shown", qPrintable(title));
}

PatternWindow::~PatternWindow()
{
    xcb_destroy_window(m_desktop.connection(), m_id);
    xcb_flush(m_desktop.connection());
    Desktop::wait([this] {
        const QList<Desktop::Window> windows = m_desktop.windows();
        return std::none_of(windows.begin(), windows.end(), [this](const auto &window) { return window.id == m_id; });
    });
}

QRect PatternWindow::content() const
{
    if (m_kind == Kind::unmanaged)
        return m_area;
    for (const Desktop::Window &window : m_desktop.windows()) {
        if (window.id == m_id)
            return window.content;
    }
    return {};
}

QRect PatternWindow::frame() const
{
    for (const Desktop::Window &window : m_desktop.windows()) {
        if (window.id == m_id)
            return window.frame;
    }
    return content();
}

void PatternWindow::raise()
{
    const uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(m_desktop.connection(), m_id, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    xcb_flush(m_desktop.connection());
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

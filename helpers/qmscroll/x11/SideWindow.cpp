#include "helpers/qmscroll/x11/SideWindow.h"

#include <cstring>
#include <vector>
#include <xcb/shape.h>

namespace qm {

namespace {

xcb_atom_t atom(XConnection &server, const char *name)
{
    const Reply<xcb_intern_atom_reply_t> answer(xcb_intern_atom_reply(
        server.get(), xcb_intern_atom(server.get(), 0, uint16_t(std::strlen(name)), name), nullptr));
    return answer ? answer->atom : xcb_atom_t(XCB_ATOM_NONE);
}

// Converts 0xrrggbb to a pixel of the root's visual.
uint32_t serverColor(XConnection &server, quint32 color)
{
    QImage pixel(1, 1, QImage::Format_RGB32);
    pixel.fill(0xff000000 | color);
    pixel.convertTo(pixelFormat(server, server.depth()));
    uint32_t value = 0;
    std::memcpy(&value, pixel.constBits(), size_t(pixel.depth() / 8));
    return value;
}

void setShape(XConnection &server, xcb_window_t window, xcb_shape_kind_t kind, const QRegion &shape)
{
    std::vector<xcb_rectangle_t> rectangles;
    for (const QRect &part : shape) {
        rectangles.push_back({int16_t(part.x()), int16_t(part.y()), uint16_t(part.width()), uint16_t(part.height())});
    }
    xcb_shape_rectangles(server.get(), XCB_SHAPE_SO_SET, kind, XCB_CLIP_ORDERING_UNSORTED, window, 0, 0,
                         uint32_t(rectangles.size()), rectangles.data());
}

} // namespace

SideWindow::SideWindow(XConnection &server, const Look &look)
    : m_server(server)
    , m_id(xcb_generate_id(server.get()))
{
    xcb_connection_t *connection = server.get();
    constexpr uint32_t pointerEvents = XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE |
                                       XCB_EVENT_MASK_POINTER_MOTION | XCB_EVENT_MASK_ENTER_WINDOW |
                                       XCB_EVENT_MASK_LEAVE_WINDOW;
    const uint32_t events =
        XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_VISIBILITY_CHANGE | (look.takesPointer ? pointerEvents : 0);
    const xcb_cursor_t arrow = xcb_generate_id(connection);
    const xcb_font_t font = xcb_generate_id(connection);
    constexpr uint16_t arrowGlyph = 68; // XC_left_ptr in cursorfont.h
    xcb_open_font(connection, font, 6, "cursor");
    xcb_create_glyph_cursor(connection, arrow, font, font, arrowGlyph, arrowGlyph + 1, 0, 0, 0, 0xffff, 0xffff, 0xffff);
    xcb_close_font(connection, font);
    const uint32_t values[] = {serverColor(server, look.color), serverColor(server, look.borderColor), 1, events,
                               arrow};
    const QPoint corner = look.area.topLeft() - QPoint(look.border, look.border);
    xcb_create_window(
        connection, server.depth(), m_id, server.root(), int16_t(corner.x()), int16_t(corner.y()),
        uint16_t(look.area.width()), uint16_t(look.area.height()), uint16_t(look.border), XCB_WINDOW_CLASS_INPUT_OUTPUT,
        XCB_COPY_FROM_PARENT,
        XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK | XCB_CW_CURSOR, values);
    xcb_free_cursor(connection, arrow);

    constexpr char windowClass[] = "qmscroll\0qmscroll"; // two strings, each terminated by a zero
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, m_id, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 8,
                        sizeof windowClass, windowClass);
    // A shadow would fall into the region. Compositors draw none for dragged items (EWMH 1.5, _NET_WM_WINDOW_TYPE), and
    // some check this property.
    const xcb_atom_t type = atom(server, "_NET_WM_WINDOW_TYPE_DND");
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, m_id, atom(server, "_NET_WM_WINDOW_TYPE"), XCB_ATOM_ATOM, 32,
                        1, &type);
    const uint32_t noShadow = 0;
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, m_id, atom(server, "_COMPTON_SHADOW"), XCB_ATOM_CARDINAL, 32,
                        1, &noShadow);

    setShape(server, m_id, XCB_SHAPE_SK_BOUNDING, look.shape);
    if (!look.takesPointer)
        setShape(server, m_id, XCB_SHAPE_SK_INPUT, {});
}

SideWindow::~SideWindow()
{
    m_paint.reset();
    xcb_destroy_window(m_server.get(), m_id);
    xcb_flush(m_server.get());
}

void SideWindow::show()
{
    if (!std::exchange(m_shown, true)) {
        raise();
        xcb_map_window(m_server.get(), m_id);
    }
    xcb_flush(m_server.get());
}

void SideWindow::show(const QImage &picture)
{
    m_picture = picture;
    show();
    repaint();
}

void SideWindow::hide()
{
    if (std::exchange(m_shown, false))
        xcb_unmap_window(m_server.get(), m_id);
    xcb_flush(m_server.get());
}

void SideWindow::repaint()
{
    if (!m_shown || m_picture.isNull())
        return;
    if (!m_paint)
        m_paint.emplace(m_server, m_id);
    m_paint->put(
        m_picture.rect(),
        [](QImage &target, QPoint origin, const void *picture) {
            const auto *source = static_cast<const QImage *>(picture);
            for (int y = 0; y < target.height(); ++y) {
                std::memcpy(target.scanLine(y),
                            source->constScanLine(origin.y() + y) + qsizetype(origin.x()) * int(sizeof(QRgb)),
                            size_t(target.width()) * sizeof(QRgb));
            }
        },
        &m_picture);
    xcb_flush(m_server.get());
}

void SideWindow::raise()
{
    constexpr uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(m_server.get(), m_id, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    xcb_flush(m_server.get());
}

} // namespace qm

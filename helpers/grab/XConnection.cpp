#include "helpers/grab/XConnection.h"

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

const xcb_visualtype_t *rootVisual(const xcb_screen_t *screen)
{
    for (auto depths = xcb_screen_allowed_depths_iterator(screen); depths.rem; xcb_depth_next(&depths)) {
        for (auto visuals = xcb_depth_visuals_iterator(depths.data); visuals.rem; xcb_visualtype_next(&visuals)) {
            if (visuals.data->visual_id == screen->root_visual)
                return visuals.data;
        }
    }
    return nullptr;
}

const xcb_format_t *pixelFormat(const xcb_setup_t *setup, quint8 depth)
{
    for (auto formats = xcb_setup_pixmap_formats_iterator(setup); formats.rem; xcb_format_next(&formats)) {
        if (formats.data->depth == depth)
            return formats.data;
    }
    return nullptr;
}

} // namespace

std::unique_ptr<XConnection> XConnection::open()
{
    int screenNumber = 0;
    xcb_connection_t *connection = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        return nullptr;
    }
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screenNumber; ++i)
        xcb_screen_next(&screens);
    std::unique_ptr<XConnection> opened(new XConnection(connection, screens.data));

    for (xcb_extension_t *extension : {&xcb_shm_id, &xcb_randr_id, &xcb_composite_id, &xcb_render_id})
        xcb_prefetch_extension_data(connection, extension);
    const QByteArray compositor = "_NET_WM_CM_S" + QByteArray::number(screenNumber);
    std::array<xcb_intern_atom_cookie_t, size_t(Atom::count)> cookies;
    for (size_t i = 0; i < cookies.size(); ++i) {
        const char *name = atomNames[i] ? atomNames[i] : compositor.constData();
        cookies[i] = xcb_intern_atom(connection, 0, uint16_t(std::strlen(name)), name);
    }
    for (size_t i = 0; i < cookies.size(); ++i) {
        const Reply<xcb_intern_atom_reply_t> answer(xcb_intern_atom_reply(connection, cookies[i], nullptr));
        opened->m_atoms[i] = answer ? answer->atom : xcb_atom_t(XCB_ATOM_NONE);
    }
    return opened;
}

XConnection::XConnection(xcb_connection_t *connection, const xcb_screen_t *screen)
    : m_connection(connection)
    , m_screen(screen)
{
}

XConnection::~XConnection()
{
    xcb_disconnect(m_connection);
}

QImage::Format XConnection::format(quint8 depth) const
{
    const xcb_setup_t *setup = xcb_get_setup(m_connection);
    const xcb_format_t *pixels = pixelFormat(setup, depth);
    const xcb_visualtype_t *visual = rootVisual(m_screen);
    const bool littleEndian = setup->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST;
    if (!pixels || !visual || littleEndian != (Q_BYTE_ORDER == Q_LITTLE_ENDIAN))
        return QImage::Format_Invalid;
    if (pixels->bits_per_pixel == 32 && depth == 32)
        return QImage::Format_ARGB32_Premultiplied; // the Render extension's only 32-bit format with alpha
    if (pixels->bits_per_pixel == 32 && depth == 24 && (depth != this->depth() || visual->red_mask == 0xff0000))
        return QImage::Format_RGB32;
    if (pixels->bits_per_pixel == 32 && depth == 30)
        return visual->red_mask == 0x3ff00000 ? QImage::Format_RGB30 : QImage::Format_BGR30;
    if (pixels->bits_per_pixel == 16 && depth == 16)
        return QImage::Format_RGB16;
    return QImage::Format_Invalid;
}

int XConnection::bytesPerLine(int width, quint8 depth) const
{
    const xcb_format_t *pixels = pixelFormat(xcb_get_setup(m_connection), depth);
    if (!pixels)
        return 0;
    const int pad = pixels->scanline_pad;
    return (width * pixels->bits_per_pixel + pad - 1) / pad * pad / 8;
}

bool XConnection::hasExtension(xcb_extension_t &extension) const
{
    const xcb_query_extension_reply_t *answer = xcb_get_extension_data(m_connection, &extension);
    return answer && answer->present;
}

xcb_window_t XConnection::selectionOwner(Atom selection) const
{
    const Reply<xcb_get_selection_owner_reply_t> answer(
        xcb_get_selection_owner_reply(m_connection, xcb_get_selection_owner(m_connection, atom(selection)), nullptr));
    return answer ? answer->owner : xcb_window_t(XCB_WINDOW_NONE);
}

QByteArray XConnection::property(xcb_window_t window, xcb_atom_t name) const
{
    const Reply<xcb_get_property_reply_t> answer(xcb_get_property_reply(
        m_connection, xcb_get_property(m_connection, 0, window, name, XCB_ATOM_ANY, 0, 1 << 16), nullptr));
    if (!answer)
        return {};
    return QByteArray(static_cast<const char *>(xcb_get_property_value(answer.get())),
                      xcb_get_property_value_length(answer.get()));
}

} // namespace qm

#include "helpers/x11/overlay/ScreenPixels.h"

#include <xcb/shm.h>

namespace qm {

namespace {

constexpr size_t slotBytes = 512 << 10; // about what stays in a core's cache between painting and copying
constexpr size_t slotCount = 6;
constexpr size_t requestBytes = 200'000; // without shared memory: fits the minimum request limit of 256 kB

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

const xcb_format_t *storage(const xcb_setup_t *setup, quint8 depth)
{
    for (auto formats = xcb_setup_pixmap_formats_iterator(setup); formats.rem; xcb_format_next(&formats)) {
        if (formats.data->depth == depth)
            return formats.data;
    }
    return nullptr;
}

} // namespace

QImage::Format pixelFormat(const XConnection &server, quint8 depth)
{
    const xcb_setup_t *setup = xcb_get_setup(server.get());
    const xcb_format_t *pixels = storage(setup, depth);
    const xcb_visualtype_t *visual = rootVisual(&server.screen());
    const bool littleEndian = setup->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST;
    if (!pixels || !visual || littleEndian != (Q_BYTE_ORDER == Q_LITTLE_ENDIAN))
        return QImage::Format_Invalid;
    if (pixels->bits_per_pixel == 32 && depth == 32)
        return QImage::Format_ARGB32_Premultiplied; // the Render extension's only 32-bit format with alpha
    if (pixels->bits_per_pixel == 32 && depth == 24 && (depth != server.depth() || visual->red_mask == 0xff0000))
        return QImage::Format_RGB32;
    if (pixels->bits_per_pixel == 32 && depth == 30)
        return visual->red_mask == 0x3ff00000 ? QImage::Format_RGB30 : QImage::Format_BGR30;
    if (pixels->bits_per_pixel == 16 && depth == 16)
        return QImage::Format_RGB16;
    return QImage::Format_Invalid;
}

static int bytesPerLine(const XConnection &server, int width, quint8 depth) // 0: no such depth
{
    const xcb_format_t *pixels = storage(xcb_get_setup(server.get()), depth);
    if (!pixels)
        return 0;
    const int pad = pixels->scanline_pad;
    return (width * pixels->bits_per_pixel + pad - 1) / pad * pad / 8;
}

ScreenGrab::ScreenGrab(XConnection &server, const QSize &largest)
    : m_server(server)
    , m_memory(SharedMemory::create(server, size_t(largest.width()) * size_t(largest.height()) * 4))
{
}

QImage ScreenGrab::take(xcb_drawable_t from, quint8 depth, const QRect &part)
{
    const QImage::Format format = pixelFormat(m_server, depth);
    const int lineBytes = bytesPerLine(m_server, part.width(), depth);
    if (format == QImage::Format_Invalid || part.isEmpty())
        return {};
    const int16_t x = int16_t(part.x());
    const int16_t y = int16_t(part.y());
    const uint16_t width = uint16_t(part.width());
    const uint16_t height = uint16_t(part.height());
    const bool direct = format == QImage::Format_RGB32 || format == QImage::Format_ARGB32_Premultiplied;
    if (m_memory && direct && size_t(lineBytes) * height <= m_memory->size()) {
        const Reply<xcb_shm_get_image_reply_t> answer(
            xcb_shm_get_image_reply(m_server.get(),
                                    xcb_shm_get_image(m_server.get(), from, x, y, width, height, ~0u,
                                                      XCB_IMAGE_FORMAT_Z_PIXMAP, m_memory->segment(), 0),
                                    nullptr));
        return answer ? QImage(m_memory->data(), width, height, lineBytes, format) : QImage();
    }
    const Reply<xcb_get_image_reply_t> answer(xcb_get_image_reply(
        m_server.get(), xcb_get_image(m_server.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, from, x, y, width, height, ~0u),
        nullptr));
    if (!answer)
        return {};
    const QImage image(xcb_get_image_data(answer.get()), width, height, lineBytes, format);
    return direct ? image.copy() : image.convertToFormat(QImage::Format_RGB32);
}

ScreenPaint::ScreenPaint(XConnection &server, xcb_window_t window)
    : m_server(server)
    , m_window(window)
    , m_context(xcb_generate_id(server.get()))
    , m_slots(slotCount)
{
    xcb_create_gc(server.get(), m_context, window, 0, nullptr);
    if (pixelFormat(server, server.depth()) == QImage::Format_RGB32)
        m_memory = SharedMemory::create(server, slotCount * slotBytes);
}

ScreenPaint::~ScreenPaint()
{
    xcb_free_gc(m_server.get(), m_context);
    for (Slot &slot : m_slots) {
        if (slot.busy)
            xcb_discard_reply(m_server.get(), slot.done.sequence);
    }
}

void ScreenPaint::put(const QRect &area, Paint paint, const void *context)
{
    if (area.isEmpty())
        return;
    const size_t lineBytes = size_t(area.width()) * 4;
    const int rows = qMax(1, int((m_memory ? slotBytes : requestBytes) / lineBytes));
    for (int top = area.top(); top <= area.bottom(); top += rows) {
        const QRect piece(area.x(), top, area.width(), qMin(rows, area.bottom() + 1 - top));
        if (m_memory) {
            uchar *memory = reserve(lineBytes * size_t(piece.height()));
            QImage target(memory, piece.width(), piece.height(), int(lineBytes), QImage::Format_RGB32);
            paint(target, piece.topLeft(), context);
            xcb_shm_put_image(m_server.get(), m_window, m_context, uint16_t(piece.width()), uint16_t(piece.height()), 0,
                              0, uint16_t(piece.width()), uint16_t(piece.height()), int16_t(piece.x()),
                              int16_t(piece.y()), m_server.depth(), XCB_IMAGE_FORMAT_Z_PIXMAP, 0, m_memory->segment(),
                              uint32_t(memory - m_memory->data()));
            xcb_flush(m_server.get());
            continue;
        }
        QImage target(piece.size(), QImage::Format_RGB32);
        paint(target, piece.topLeft(), context);
        target.convertTo(pixelFormat(m_server, m_server.depth())); // both sides pad lines of 16-bit pixels to 32 bits
        xcb_put_image(m_server.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, m_window, m_context, uint16_t(piece.width()),
                      uint16_t(piece.height()), int16_t(piece.x()), int16_t(piece.y()), 0, m_server.depth(),
                      uint32_t(target.sizeInBytes()), target.constBits());
        xcb_flush(m_server.get());
    }
}

// Reserves room in the current slot or the next one, waiting if the server still reads there.
uchar *ScreenPaint::reserve(size_t bytes)
{
    if (m_used + bytes > slotBytes) {
        fence();
        m_slot = (m_slot + 1) % slotCount;
        m_used = 0;
        if (Slot &slot = m_slots[m_slot]; slot.busy) {
            std::free(xcb_get_input_focus_reply(m_server.get(), slot.done, nullptr));
            slot.busy = false;
        }
    }
    uchar *memory = m_memory->data() + m_slot * slotBytes + m_used;
    m_used += bytes;
    return memory;
}

void ScreenPaint::fence()
{
    m_slots[m_slot] = {true, xcb_get_input_focus(m_server.get())};
}

} // namespace qm

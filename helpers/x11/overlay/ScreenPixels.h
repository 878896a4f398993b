#pragma once

#include "helpers/x11/overlay/SharedMemory.h"

#include <QImage>
#include <QRect>

#include <memory>
#include <vector>

namespace qm {

// Format of the server's pixels at this depth; Format_Invalid for depths no screen has had for decades.
QImage::Format pixelFormat(const XConnection &server, quint8 depth);

// Grabs pixels from the screen, reusing the same memory.
class ScreenGrab
{
public:
    ScreenGrab(XConnection &server, const QSize &largest); // pixels

    // Grabs part of a window or pixmap of this depth, atomically; of the root: the screen with everything on it. RGB32,
    // or premultiplied ARGB32 for depth 32. The pixels are this object's memory and are overwritten by the next take:
    // copy what you keep. Null if the server refuses (the window is gone, or the part does not lie inside it).
    QImage take(xcb_drawable_t from, quint8 depth, const QRect &part);
    QImage takeScreen(const QRect &part) { return take(m_server.root(), m_server.depth(), part); }

private:
    XConnection &m_server;
    std::unique_ptr<SharedMemory> m_memory;
};

// Puts pixels on a window. Painting overlaps with the server's copying: the memory is a ring of slots, and a slot is
// reused once the server is done with it.
class ScreenPaint
{
public:
    ScreenPaint(XConnection &server, xcb_window_t window);
    ~ScreenPaint();
    Q_DISABLE_COPY_MOVE(ScreenPaint)

    // Calls paint for pieces that together cover the area; each image is RGB32 of the piece's size, with undefined
    // content.
    using Paint = void (*)(QImage &target, QPoint origin, const void *context);
    void put(const QRect &area, Paint paint, const void *context);

private:
    uchar *reserve(size_t bytes);
    void fence();

    XConnection &m_server;
    xcb_window_t m_window;
    xcb_gcontext_t m_context;
    std::unique_ptr<SharedMemory> m_memory;
    struct Slot {
        bool busy = false;
        xcb_get_input_focus_cookie_t done = {}; // answered once the server has finished the slot's last use
    };
    std::vector<Slot> m_slots;
    size_t m_slot = 0;
    size_t m_used = 0; // bytes of the current slot
};

} // namespace qm

#pragma once

#include "helpers/x11/overlay/SharedMemory.h"

#include <QImage>
#include <QRect>

#include <memory>
#include <vector>

namespace qm {

// How the server keeps pixels of this depth; Format_Invalid for one that no screen has had for decades.
QImage::Format pixelFormat(const XConnection &server, quint8 depth);

// Takes pixels from the screen, again and again into the same memory.
class ScreenGrab
{
public:
    ScreenGrab(XConnection &server, const QSize &largest); // pixels

    // The part of a window or pixmap of this depth, in one piece as it is at one moment; of the root: the screen, with
    // all that lies on it. RGB32, or premultiplied ARGB32 for depth 32. The pixels are this object's memory and are
    // overwritten by the next take: copy what is to stay. Null when the server refuses (the window is gone, the part is
    // not within it).
    QImage take(xcb_drawable_t from, quint8 depth, const QRect &part);
    QImage takeScreen(const QRect &part) { return take(m_server.root(), m_server.depth(), part); }

private:
    XConnection &m_server;
    std::unique_ptr<SharedMemory> m_memory;
};

// Puts pixels on a window. Painting and the server's copying run side by side: the memory is a ring of slots, and a slot
// is used again once the server is done with it.
class ScreenPaint
{
public:
    ScreenPaint(XConnection &server, xcb_window_t window);
    ~ScreenPaint();
    Q_DISABLE_COPY_MOVE(ScreenPaint)

    // Calls paint for pieces that together are the area; each image is RGB32 of the piece's size, its content undefined.
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
        xcb_get_input_focus_cookie_t done = {}; // answered once the server has gone past the slot's last use
    };
    std::vector<Slot> m_slots;
    size_t m_slot = 0;
    size_t m_used = 0; // bytes of the current slot
};

} // namespace qm

#pragma once

#include "helpers/grab/Monitors.h"
#include "helpers/grab/ScreenPixels.h"
#include "helpers/grab/ScreenWindows.h"

#include <QImage>

namespace qm {

// The screen as it was at one moment, and what lay on it. The server keeps the copy, which takes a third of the time that
// it takes to hand it over; the pixels are fetched when they are first asked for.
class FrozenScreen
{
public:
    // Freezes. The caller holds the server (xcb_grab_server), so that windows and pixels are of the same moment.
    explicit FrozenScreen(XConnection &server);
    ~FrozenScreen();
    Q_DISABLE_COPY_MOVE(FrozenScreen)

    QRect area() const { return m_server.area(); }
    const QList<ScreenWindow> &windows() const { return m_windows; } // bottom first
    const QList<Monitor> &monitors() const { return m_monitors; }
    bool isComposited() const { return m_composited; } // windows have pixels of their own, whatever lies over them

    void copyTo(xcb_window_t window) const; // by the server itself

    // Of the whole desktop, RGB32; what no monitor shows is black. Null when the server refuses.
    const QImage &pixels();
    const QImage &fetchedPixels() const { return m_pixels; } // null before pixels() was called

private:
    XConnection &m_server;
    xcb_pixmap_t m_copy;
    bool m_composited;
    QList<Monitor> m_monitors;
    QList<ScreenWindow> m_windows;
    ScreenGrab m_grab;
    QImage m_pixels; // the grab's memory
};

} // namespace qm

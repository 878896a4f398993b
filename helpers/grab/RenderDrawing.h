#pragma once

#include "helpers/grab/XConnection.h"

#include <QImage>

namespace qm {

// What the server's Render extension draws for us. Without the extension there is a plain pointer and no dimming.
class RenderDrawing
{
public:
    explicit RenderDrawing(XConnection &server);

    // Takes light away from all of a window of the root's depth, as dimmed() of OverlayFrame.h does. False: cannot.
    bool dim(xcb_window_t window) const;

    // A pointer with this picture, premultiplied ARGB32, hot in the middle. The caller frees it.
    xcb_cursor_t makeCursor(const QImage &picture) const;

private:
    XConnection &m_server;
    quint32 m_alphaFormat = 0;  // 32 bits with alpha; 0: none
    quint32 m_screenFormat = 0; // of the root
};

} // namespace qm

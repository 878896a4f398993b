#pragma once

#include "helpers/x11/XConnection.h"

namespace qm {

// Drawing with the server's Render extension. Without the extension there is a plain pointer and no dimming.
class RenderDrawing
{
public:
    explicit RenderDrawing(XConnection &server);

    // Dims a whole window of the root's depth and the screen's size, with alpha of 255. False if the server cannot.
    bool dim(xcb_window_t window, quint8 alpha) const;

    // A pointer with this picture: premultiplied ARGB32 without padding between rows, hot spot in the middle. The
    // caller frees it.
    xcb_cursor_t makeCursor(const uchar *pixels, quint16 width, quint16 height) const;

private:
    XConnection &m_server;
    quint32 m_alphaFormat = 0;  // 32 bits with alpha; 0: none
    quint32 m_screenFormat = 0; // of the root
};

} // namespace qm

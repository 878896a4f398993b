#pragma once

#include "helpers/x11/overlay/ScreenPixels.h"

#include <QRegion>

#include <optional>

namespace qm {

// An override-redirect window on the screen: the frame around the region, or the panel beside it. Window managers,
// compositors' shadows and the keyboard focus ignore it.
class SideWindow
{
public:
    struct Look {
        QRect area;        // pixels of the desktop, without the border
        QRegion shape;     // the visible part, relative to the area's corner
        bool takesPointer; // otherwise clicks and the wheel go to what lies below
        quint32 color = 0; // 0xrrggbb; visible until a picture is shown
        int border = 0;    // pixels
        quint32 borderColor = 0;
    };

    SideWindow(XConnection &server, const Look &look);
    ~SideWindow();
    Q_DISABLE_COPY_MOVE(SideWindow)

    xcb_window_t id() const { return m_id; }
    bool isShown() const { return m_shown; }

    void show();
    void show(const QImage &picture); // RGB32, same size as the area
    void hide();
    void repaint();
    void raise();

private:
    XConnection &m_server;
    const xcb_window_t m_id;
    std::optional<ScreenPaint> m_paint;
    QImage m_picture;
    bool m_shown = false;
};

} // namespace qm

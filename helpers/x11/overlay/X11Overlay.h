#pragma once

#include "helpers/overlay/OverlayDesktop.h"
#include "helpers/x11/Curtain.h"
#include "helpers/x11/RenderDrawing.h"
#include "helpers/x11/overlay/FrozenX11Screen.h"
#include "helpers/x11/overlay/ScreenPixels.h"

#include <QHash>

namespace qm {

// The overlay on an X server, using the curtain that already shows the frozen screen.
class X11Overlay : public OverlayDesktop
{
public:
    // trigger: the modifier key that starts captures, named as in the settings; empty if it has no meaning here.
    explicit X11Overlay(Curtain &curtain, const QByteArray &trigger = {});
    // Releases keyboard and pointer once all pressed keys and buttons are up again.
    ~X11Overlay() override;

    FrozenX11Screen &screen() override { return m_screen; }
    Start start() override;
    bool isDimmed() const override { return m_curtain.isDimmed(); }
    bool holdInput() override;
    std::optional<Input> next() override;
    void wait(std::optional<std::chrono::milliseconds> limit) override;
    void paint(const OverlayFrame &frame, const QRegion &region) override;
    void setPointer(Pointer shape, double scale) override;
    void movePointer(QPoint by) override;
    void flush() override;
    void lift() override;

private:
    std::optional<Input> translated(const xcb_generic_event_t &event);
    Input keyInput(Input::Kind kind, const xcb_key_press_event_t &event) const;
    quint32 symbol(const xcb_key_press_event_t &event) const;

    XConnection &m_server;
    Curtain &m_curtain;
    const QByteArray m_trigger;
    InputGrab &m_input;
    const RenderDrawing m_render;
    FrozenX11Screen m_screen;
    ScreenPaint m_paint;
    Reply<xcb_get_keyboard_mapping_reply_t> m_keyboard;
    Reply<xcb_generic_event_t> m_queued; // arrived along with a reply
    QHash<QString, xcb_cursor_t> m_cursors;
    xcb_cursor_t m_cursor = XCB_CURSOR_NONE;
};

} // namespace qm

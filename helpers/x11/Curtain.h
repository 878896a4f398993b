#pragma once

#include "helpers/x11/InputGrab.h"
#include "helpers/x11/WindowSurvey.h"

namespace qm {

// Takes keyboard and pointer, freezes the screen and lays the frozen screen, dimmed, over everything: no menu closes and no
// highlight goes in between, and whoever pressed the key sees at once that it was heard. One thread.
// The frozen screen is a copy that the server keeps, which takes a third of the time that handing it over does.
class Curtain
{
public:
    // How much light is taken away, of 255: dark enough to set a selection off, light enough to read what one aims at.
    static constexpr quint8 dimAlpha = 96;

    explicit Curtain(XConnection &server); // returns once all of it is on its way to the server
    ~Curtain();                            // the curtain is off the screen; keyboard and pointer go with the input
    Q_DISABLE_COPY_MOVE(Curtain)

    XConnection &server() const { return m_server; }
    // Not held when another program has a grab: take() may be tried again.
    InputGrab &input() { return m_input; }
    const WindowSurvey &windows() const { return m_windows; } // of the same moment as the pixels
    xcb_pixmap_t frozen() const { return m_frozen; }          // of the root's depth
    xcb_window_t window() const { return m_window; }
    bool isDimmed() const { return m_dimmed; } // false: the server cannot, and shows the frozen screen as it was

    void lift(); // off the screen

private:
    void freeze();
    void show();

    XConnection &m_server;
    InputGrab m_input;
    const xcb_pixmap_t m_frozen;
    const xcb_window_t m_window;
    WindowSurvey m_windows;
    bool m_dimmed = false;
};

} // namespace qm

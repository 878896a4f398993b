#pragma once

#include "helpers/x11/InputGrab.h"
#include "helpers/x11/WindowSurvey.h"

namespace qm {

// Grabs keyboard and pointer, freezes the screen and covers everything with the frozen, dimmed screen: no menu closes
// and no highlight vanishes in between, and the user sees at once that the key worked. One thread. The frozen screen is
// a copy kept by the server, which takes a third of the time of transferring it.
class Curtain
{
public:
    // Unseen: the screen is frozen, but neither covered nor is any input grabbed, as nothing is to be chosen.
    enum class Kind { covering, unseen };
    explicit Curtain(XConnection &server, Kind kind = Kind::covering); // returns once all has been sent to the server
    ~Curtain(); // takes the curtain off the screen; releases keyboard and pointer
    Q_DISABLE_COPY_MOVE(Curtain)

    XConnection &server() const { return m_server; }
    // Not held if another program has a grab: take() may be retried.
    InputGrab &input() { return m_input; }
    const WindowSurvey &windows() const { return m_windows; } // taken at the same moment as the pixels
    xcb_pixmap_t frozen() const { return m_frozen; }          // has the root's depth
    xcb_window_t window() const { return m_window; }
    bool isDimmed() const { return m_dimmed; } // false: the server cannot dim, and shows the frozen screen as it was

    void lift(); // takes it off the screen

private:
    void freeze();
    void show();

    XConnection &m_server;
    InputGrab m_input;
    const xcb_pixmap_t m_frozen;
    const xcb_window_t m_window;
    WindowSurvey m_windows;
    bool m_isShown = false;
    bool m_dimmed = false;
};

} // namespace qm

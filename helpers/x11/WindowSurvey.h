#pragma once

#include "helpers/x11/XConnection.h"

#include <optional>
#include <string>
#include <vector>

namespace qm {

// What the server and the window manager say of the windows, as they said it: what to make of it is decided later. Lists
// are bottom first. Rectangles are pixels of the whole screen; names are bytes, in UTF-8 or in what old programs write.
struct WindowSurvey {
    struct Top { // a child of the root: a frame around a program's window, a menu, a panel
        xcb_window_t id = 0;
        QRect area; // with its border
        quint8 depth = 0;
        bool isShown = false;
        std::string name; // its own, or that of its topmost child; asked where no window manager lists what is in it
    };
    // A window in the manager's list (EWMH 1.5, _NET_CLIENT_LIST_STACKING). Extents are left, right, top, bottom.
    struct Client {
        xcb_window_t top = 0; // the child of the root that holds it
        QRect content;
        std::string name;
        bool isHidden = false;
        std::optional<quint32> desktop;
        std::array<quint32, 4> frame = {};  // _NET_FRAME_EXTENTS: what the manager drew around the content
        std::array<quint32, 4> shadow = {}; // _GTK_FRAME_EXTENTS: invisible margin within the content
    };
    bool isManaged = false;    // a window manager is there; without one there are no clients
    bool isComposited = false; // windows have pixels of their own, whatever lies over them
    std::optional<quint32> desktop;
    xcb_window_t compositorsWindow = 0; // on which it shows its work: above all others, and nobody's window
    std::vector<Top> tops;
    std::vector<Client> clients;
};

// Asks for all of it, in a few round trips however many windows there are. Windows that close meanwhile are left out.
WindowSurvey surveyWindows(XConnection &server);

} // namespace qm

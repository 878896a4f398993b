#pragma once

#include "helpers/x11/XConnection.h"

#include <optional>
#include <string>
#include <vector>

namespace qm {

// What the server and the window manager report about windows, uninterpreted. Lists are bottom first. Rectangles are
// pixels of the whole screen; names are bytes, in UTF-8 or whatever old programs write.
struct WindowSurvey {
    struct Top { // a child of the root: a frame around a program's window, a menu, a panel
        xcb_window_t id = 0;
        QRect area; // including its border
        quint8 depth = 0;
        bool isShown = false;
        std::string name; // its own, or its topmost child's; only queried without a window manager
    };
    // A window in the manager's list (EWMH 1.5, _NET_CLIENT_LIST_STACKING). Extents are left, right, top, bottom.
    struct Client {
        xcb_window_t top = 0; // child of the root that contains it
        QRect content;
        std::string name;
        bool isHidden = false;
        std::optional<quint32> desktop;
        std::array<quint32, 4> frame = {};  // _NET_FRAME_EXTENTS: the manager's decoration around the content
        std::array<quint32, 4> shadow = {}; // _GTK_FRAME_EXTENTS: invisible margin inside the content
    };
    bool isManaged = false;    // a window manager is running; without one there are no clients
    bool isComposited = false; // windows keep their own pixels, even where covered
    std::optional<quint32> desktop;
    xcb_window_t compositorsWindow = 0; // the composite overlay window: above all others, not an application's
    std::vector<Top> tops;
    std::vector<Client> clients;
};

// Queries all of it in a few round trips, however many windows there are. Windows closed meanwhile are left out.
WindowSurvey surveyWindows(XConnection &server);

} // namespace qm

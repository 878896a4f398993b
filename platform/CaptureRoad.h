#pragma once

#include <functional>

namespace qm {

// Where the pictures of the screen come from here. What the display server and the session bus offer decides, as it does for
// the capture tool: nobody is asked for permission, and no service is started.
struct CaptureRoad {
    enum class Kind {
        none,
        system,     // a capture tool of the system's own
        x11,        // the X server
        compositor, // a Wayland compositor that lets its clients read its pixels
        kwin,       // KWin's own service, which our desktop file opens
        portal,     // the desktop's portal
    };
    Kind kind = Kind::none;
    bool isDenied = false; // the user has once answered the portal's question with no, and is not asked any more

    static CaptureRoad current(); // any thread; waits for answers, for two seconds at most
    // Makes the portal forget that answer. Main thread, which also gets the call when it is done.
    static void askAgain(const std::function<void()> &done);
};

} // namespace qm

#include "helpers/qmscroll/ScrollDesktop.h"

#include "helpers/qmscroll/wayland/WaylandScrollDesktop.h"
#include "helpers/qmscroll/x11/X11ScrollDesktop.h"

namespace qm {

// As qmcapture decides: an X server beside a Wayland compositor shows the windows of old programs, and black.
std::unique_ptr<ScrollDesktop> ScrollDesktop::open(QString *failure)
{
    if (qgetenv("QUILLMERE_DISPLAY") != "x11" && !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        if (std::unique_ptr<ScrollDesktop> desktop = WaylandScrollDesktop::open(failure);
            desktop || !failure->isEmpty())
            return desktop;
    }
    std::unique_ptr<ScrollDesktop> desktop = X11ScrollDesktop::open();
    if (!desktop)
        *failure = QStringLiteral("no display to capture from");
    return desktop;
}

} // namespace qm

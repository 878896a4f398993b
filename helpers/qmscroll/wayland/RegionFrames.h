#pragma once

#include <QImage>
#include <QRect>

#include <string>

namespace qm {

// The part of one monitor that is captured again and again.
struct RegionPart {
    std::string output; // the compositor's name of the monitor
    QRect pixels;  // relative to the monitor's corner, in its own pixels as they are seen (the monitor turned back)
    QSize monitor; // all pixels of the monitor
    QRect logical; // the monitor's place in the compositor's coordinates
};

// The current pixels of a part of the screen. One thread.
class RegionFrames
{
public:
    virtual ~RegionFrames() = default;

    // RGB32, as large as the part. Null if the desktop no longer gives them. The second call after this one may reuse
    // the memory.
    virtual QImage grab() = 0;

    // The whole monitor, once something on it has changed. Null if nothing does for a while, or if it is not to be had.
    virtual QImage grabMonitor() { return {}; }
};

} // namespace qm

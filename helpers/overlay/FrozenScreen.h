#pragma once

#include "helpers/overlay/Monitors.h"
#include "helpers/overlay/ScreenWindows.h"

#include <QImage>

#include <optional>

namespace qm {

// The screen and its windows as they were when the capture began. One thread. Rectangles are pixels of the whole
// desktop.
class FrozenScreen
{
public:
    FrozenScreen() = default;
    virtual ~FrozenScreen() = default;
    Q_DISABLE_COPY_MOVE(FrozenScreen)

    virtual QRect area() const = 0;
    virtual const QList<Monitor> &monitors() const = 0;     // at least one
    virtual const QList<ScreenWindow> &windows() const = 0; // bottom first
    virtual bool knowsWindows() const = 0;                  // else there are none in the list
    virtual bool isComposited() const = 0;                  // windows keep their own pixels, even where covered

    // The pointer's pixel; std::nullopt if it is not known.
    virtual std::optional<QPoint> pointer() = 0;

    // The whole desktop, RGB32; areas that no monitor shows are black. Null if the desktop refuses.
    virtual const QImage &pixels() = 0;
    // A window's own pixels, including covered parts. Null if it has none, or no longer.
    virtual QImage windowPixels(int index) = 0;
};

} // namespace qm

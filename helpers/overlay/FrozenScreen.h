#pragma once

#include "helpers/overlay/Monitors.h"
#include "helpers/overlay/ScreenWindows.h"

#include <QImage>

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
    virtual bool isComposited() const = 0;                  // windows keep their own pixels, even where covered

    // The whole desktop, RGB32; areas that no monitor shows are black. Null if the desktop refuses.
    virtual const QImage &pixels() = 0;
};

} // namespace qm

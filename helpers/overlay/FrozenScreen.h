#pragma once

#include "helpers/overlay/Monitors.h"
#include "helpers/overlay/ScreenWindows.h"

#include <QImage>

namespace qm {

// The screen as it was when the capture began, and what lay on it. One thread. Rectangles are pixels of the whole desktop.
class FrozenScreen
{
public:
    FrozenScreen() = default;
    virtual ~FrozenScreen() = default;
    Q_DISABLE_COPY_MOVE(FrozenScreen)

    virtual QRect area() const = 0;
    virtual const QList<Monitor> &monitors() const = 0;     // at least one
    virtual const QList<ScreenWindow> &windows() const = 0; // bottom first
    virtual bool isComposited() const = 0;                  // windows have pixels of their own, whatever lies over them

    // Of the whole desktop, RGB32; what no monitor shows is black. Null when the desktop refuses.
    virtual const QImage &pixels() = 0;
};

} // namespace qm

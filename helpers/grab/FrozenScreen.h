#pragma once

#include "helpers/freeze/Curtain.h"
#include "helpers/grab/Monitors.h"
#include "helpers/grab/ScreenPixels.h"
#include "helpers/grab/ScreenWindows.h"

#include <QImage>

namespace qm {

// The screen as the curtain froze it, and what lay on it. The pixels stay with the server until they are first asked for.
class FrozenScreen
{
public:
    explicit FrozenScreen(Curtain &curtain);

    QRect area() const { return m_curtain.server().area(); }
    const QList<ScreenWindow> &windows() const { return m_windows; } // bottom first
    const QList<Monitor> &monitors() const { return m_monitors; }
    bool isComposited() const { return m_curtain.windows().isComposited; }

    // Of the whole desktop, RGB32; what no monitor shows is black. Null when the server refuses.
    const QImage &pixels();
    const QImage &fetchedPixels() const { return m_pixels; } // null before pixels() was called

private:
    Curtain &m_curtain;
    QList<Monitor> m_monitors;
    QList<ScreenWindow> m_windows;
    ScreenGrab m_grab;
    QImage m_pixels; // the grab's memory
};

} // namespace qm

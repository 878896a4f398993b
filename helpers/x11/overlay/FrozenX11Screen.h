#pragma once

#include "helpers/overlay/FrozenScreen.h"
#include "helpers/x11/Curtain.h"
#include "helpers/x11/overlay/ScreenPixels.h"

namespace qm {

// The screen as the curtain froze it. The pixels stay on the server until first requested.
class FrozenX11Screen : public FrozenScreen
{
public:
    explicit FrozenX11Screen(Curtain &curtain);

    QRect area() const override { return m_curtain.server().area(); }
    const QList<Monitor> &monitors() const override { return m_monitors; }
    const QList<ScreenWindow> &windows() const override { return m_windows; }
    bool knowsWindows() const override { return true; }
    bool isComposited() const override { return m_curtain.windows().isComposited; }
    std::optional<QPoint> pointer() override;
    const QImage &pixels() override;
    QImage windowPixels(int index) override;
    const QImage &fetchedPixels() const { return m_pixels; } // null before the first call of pixels()

private:
    Curtain &m_curtain;
    const QList<Monitor> m_monitors;
    const QList<ScreenWindow> m_windows;
    ScreenGrab m_grab;
    QImage m_pixels; // uses the grab's memory
};

} // namespace qm

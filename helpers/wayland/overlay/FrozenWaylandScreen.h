#pragma once

#include "helpers/overlay/FrozenScreen.h"
#include "helpers/overlay/OverlayDesktop.h"
#include "helpers/wayland/WaylandCurtain.h"
#include "helpers/wayland/overlay/OutputLayout.h"

namespace qm {

// The screen as the curtain froze it.
class FrozenWaylandScreen : public FrozenScreen
{
public:
    explicit FrozenWaylandScreen(WaylandCurtain &curtain);

    QRect area() const override { return m_layout.bounds(); }
    const QList<Monitor> &monitors() const override { return m_monitors; }
    const QList<ScreenWindow> &windows() const override { return m_windows; }
    bool knowsWindows() const override { return m_knowsWindows; }
    bool isComposited() const override { return m_curtain.windows().havePictures; } // else nobody gets at them
    std::optional<QPoint> pointer() override; // only of a curtain that is not absent, and before an overlay has it
    const QImage &pixels() override;
    QImage windowPixels(int index) override;

    const OutputLayout &layout() const { return m_layout; }

private:
    WaylandCurtain &m_curtain;
    const OutputLayout m_layout;
    QList<Monitor> m_monitors;
    QList<ScreenWindow> m_windows;
    QStringList m_windowIds; // of KWin's windows
    bool m_knowsWindows = false;
    std::unique_ptr<OverlayDesktop> m_unseen; // the compositor tells it where the pointer is, and nobody else
    QImage m_pixels;
};

} // namespace qm

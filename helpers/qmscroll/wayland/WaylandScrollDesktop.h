#pragma once

#include "helpers/qmscroll/ScrollDesktop.h"
#include "helpers/qmscroll/wayland/ScrollWay.h"
#include "helpers/qmscroll/wayland/SideSurface.h"
#include "helpers/wayland/WaylandClaim.h"
#include "helpers/wayland/WaylandSeat.h"
#include "helpers/wayland/overlay/Keymap.h"
#include "helpers/wayland/overlay/OutputLayout.h"
#include "platform/wayland/SwayIpc.h"

#include <QGuiApplication>
#include <QSet>

namespace qm {

// A Wayland compositor's desktop, by the first way that it offers. Its pixels are those of OutputLayout. A region across
// monitors is cut to the one with the most of it.
//
// Nobody tells where the pointer is while it is over another program's window. So while we scroll, our surfaces take it
// everywhere but in the region, and as soon as it comes there, only in the region: it is seen when it leaves and when it
// returns, and everything else can be used meanwhile.
class WaylandScrollDesktop : public ScrollDesktop
{
public:
    // Null without a reason if there is no compositor.
    static std::unique_ptr<ScrollDesktop> open(QString *failure);

    bool claim() override;
    void waitForRest(const QRect &part) override;
    std::optional<Region> chooseRegion(QString *failure) override;
    QImage grab() override;
    Pointer pointer() override;
    void movePointer(QPoint to) override;
    bool canTurnWheel() const override { return m_wheel != nullptr; }
    void turnWheel(int clicks) override;
    PanelPlace showFrame() override;
    void showPanel(const QImage &picture) override;
    void hidePanel() override;
    void hideFrame() override;
    Input wait(std::chrono::milliseconds limit) override;
    void letGo() override;

private:
    struct Listeners;
    enum class Reach { panel, outside, inside }; // where our surfaces take the pointer; always on the panel

    WaylandScrollDesktop(std::unique_ptr<WaylandServer> server, const ScrollWay &way);
    void setReach(Reach reach);
    void entered(const wl_surface *surface, QPointF at);
    void moved(QPointF at);
    void button(bool isDown);
    void key(quint32 code, bool isDown);
    void followPointer();
    void present();
    bool haveMonitorsChanged() const;
    QRect panelArea() const { return m_panel.isNull() ? QRect() : QRect(m_panelAt, m_panel.size()); }
    bool isInside(QPoint at) const { return m_region.contains(at) && !panelArea().contains(at); }
    quint32 windowAtTarget();

    std::unique_ptr<WaylandServer> m_server;
    const ScrollWay &m_way;
    std::optional<WaylandClaim> m_claim;
    std::unique_ptr<QGuiApplication> m_fonts;
    const SurfaceGlobals m_globals;
    const WaylandOutputs m_outputs;
    std::optional<OutputLayout> m_layout; // from here on: once a region is chosen
    int m_output = 0;                     // the monitor with the region
    QRect m_region;
    std::unique_ptr<RegionFrames> m_frames;
    std::unique_ptr<WheelDevice> m_wheel;

    std::optional<WaylandSeat> m_seat;
    std::vector<std::unique_ptr<SideSurface>> m_surfaces; // by monitor
    QImage m_panel;                                       // null: hidden
    QPoint m_panelAt;
    int m_panelOutput = 0;
    int m_panelRadius = 0;
    Keymap m_keymap;
    QSet<quint32> m_keysDown;      // of those that are reported
    bool m_isWheelChanged = false; // by a key that is held
    QList<Input> m_inputs;

    Reach m_reach = Reach::panel;
    int m_pointerOutput = -1;  // whose surface has the pointer; -1: none of ours
    QPoint m_pointer;          // where it is then
    bool m_hasPressed = false; // on the panel
    QPoint m_target;           // of the wheel
    std::unique_ptr<SwayIpc> m_sway;
};

} // namespace qm

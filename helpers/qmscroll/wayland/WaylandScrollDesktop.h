#pragma once

#include "helpers/qmscroll/ScrollDesktop.h"
#include "helpers/qmscroll/wayland/ScrollCover.h"
#include "helpers/qmscroll/wayland/ScrollWay.h"
#include "helpers/wayland/WaylandClaim.h"
#include "platform/wayland/SwayIpc.h"

#include <QGuiApplication>

namespace qm {

// A Wayland compositor's desktop, by the first way that it offers. Its pixels are those of OutputLayout. A region across
// monitors is cut to the one with the most of it.
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
    void setUserScrolls(bool doesSo) override;
    PanelPlace showFrame() override;
    void showPanel(const QImage &picture) override;
    void hidePanel() override;
    void hideFrame() override;
    Input wait(std::chrono::milliseconds limit) override;
    void letGo() override;

private:
    WaylandScrollDesktop(std::unique_ptr<WaylandServer> server, const ScrollWay &way);
    void holdKeyboard();
    bool haveMonitorsChanged() const;
    void turnInRegion(int clicks);
    quint32 windowAtTarget();

    std::unique_ptr<WaylandServer> m_server;
    const ScrollWay &m_way;
    std::optional<WaylandClaim> m_claim;
    std::unique_ptr<QGuiApplication> m_fonts;
    const WaylandOutputs m_outputs;
    std::optional<OutputLayout> m_layout; // from here on: once a region is chosen
    int m_output = 0;                     // the monitor with the region
    QRect m_region;
    std::unique_ptr<RegionFrames> m_frames;
    std::unique_ptr<WheelDevice> m_wheel;

    std::unique_ptr<SwayIpc> m_sway;
    QPoint m_target;      // of the wheel
    quint32 m_window = 0; // that was last seen there
    bool m_doesUserScroll = false;

    const SurfaceGlobals m_globals;
    std::optional<SideSurface> m_keyboardHolder; // from the overlay to the cover
    std::optional<ScrollCover> m_cover;
    QPoint m_panelAt;
    int m_panelOutput = 0;
    int m_panelRadius = 0;
};

} // namespace qm

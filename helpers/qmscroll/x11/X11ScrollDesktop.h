#pragma once

#include "helpers/overlay/Monitors.h"
#include "helpers/qmscroll/ScrollDesktop.h"
#include "helpers/qmscroll/x11/KeyGrab.h"
#include "helpers/qmscroll/x11/SideWindow.h"
#include "helpers/x11/InputGrab.h"

#include <QDeadlineTimer>
#include <QGuiApplication>

#include <array>

namespace qm {

// An X server's desktop, with XTEST's wheel.
class X11ScrollDesktop : public ScrollDesktop
{
public:
    static std::unique_ptr<ScrollDesktop> open(); // null if no server answers

    bool claim() override;
    void waitForRest(const QRect &part) override;
    std::optional<Region> chooseRegion(QString *failure) override;
    QImage grab() override;
    Pointer pointer() override;
    void movePointer(QPoint to) override;
    bool canTurnWheel() const override;
    void turnWheel(int clicks) override;
    void setUserScrolls(bool) override {}
    PanelPlace showFrame() override;
    void showPanel(const QImage &picture) override;
    void hidePanel() override;
    void hideFrame() override;
    Input wait(std::chrono::milliseconds limit) override;
    void letGo() override;

private:
    X11ScrollDesktop() = default;
    std::optional<Input> translate(const xcb_generic_event_t &event);

    std::unique_ptr<XConnection> m_server;
    std::unique_ptr<QGuiApplication> m_fonts;
    QList<Monitor> m_monitors;
    QRect m_region;
    std::array<std::optional<ScreenGrab>, 2> m_grabs;
    size_t m_nextGrab = 0;
    std::optional<SideWindow> m_frame;
    std::optional<SideWindow> m_panel;
    std::optional<KeyGrab> m_keys;
    std::optional<InputGrab> m_pressed; // never grabs anything; used to wait for the keys' release
    QDeadlineTimer m_nextRaise;
};

} // namespace qm

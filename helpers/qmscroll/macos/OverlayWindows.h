#pragma once

#include "helpers/qmscroll/ScrollDesktop.h"

#include <QRasterWindow>

#include <functional>

namespace qm {

// The windows of a scrolling capture. They stay above all others and never take the keyboard focus. Main thread, which
// needs a QGuiApplication; points.

// Dims one screen and lets the user draw a rectangle on it.
class RegionWindow : public QRasterWindow
{
public:
    RegionWindow(QScreen *screen, std::function<void(QRect)> drawn); // in points of the desktop

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    QRect selection() const; // relative to the window's corner

    std::function<void(QRect)> m_drawn;
    std::optional<QPoint> m_from;
    QPoint m_to;
};

// The frame around the region; clicks and the wheel go to what lies below.
class FrameWindow : public QRasterWindow
{
public:
    explicit FrameWindow(const QRect &region);

    static QRect outerArea(const QRect &region);

protected:
    void paintEvent(QPaintEvent *event) override;
};

// Shows the panel's picture and reports what the pointer does over it.
class PanelWindow : public QRasterWindow
{
public:
    PanelWindow(const QRect &area, double scale, std::function<void(const ScrollDesktop::Input &)> told);

    void setPicture(const QImage &picture);

protected:
    bool event(QEvent *event) override; // only way to learn that the pointer has left
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    void tell(ScrollDesktop::Input::Kind kind, const QMouseEvent &event);

    const double m_scale; // pixels per point
    std::function<void(const ScrollDesktop::Input &)> m_told;
    QImage m_picture;
};

} // namespace qm

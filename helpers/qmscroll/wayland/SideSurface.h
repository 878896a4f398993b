#pragma once

#include "helpers/wayland/OutputSurface.h"

#include <QHash>
#include <QImage>
#include <QRegion>

#include <optional>

namespace qm {

// A surface over one monitor on which only the frame and the panel are seen, and which takes the pointer only where it is told
// to: a Wayland client can place nothing smaller, and learns only there where the pointer is. One thread. Pixels relative to
// the monitor's corner.
class SideSurface
{
public:
    struct Fill {
        QRegion area;
        QRgb color = 0;
    };

    SideSurface(const SurfaceGlobals &globals, const WaylandOutput &output, QSize pixels);

    bool isConfigured() const { return m_surface.isConfigured(); }
    bool isClosed() const { return m_surface.isClosed(); }
    const wl_surface *handle() const { return m_surface.handle(); }
    QPoint pixelAt(QPointF point) const; // from the surface's own coordinates

    // Where the surface begins: at the monitor's corner, unless it is a window that leaves out the desktop's bars. Then a mark in
    // its corner is to be looked for in a picture of the monitor.
    bool isPlaced() const { return m_isPlaced; }
    void place(std::optional<QPoint> origin); // std::nullopt: it could not be
    QRect covered() const { return {m_origin, coveredPixels()}; }
    void setMark(bool isShown);
    std::optional<QPoint> findMark(const QImage &monitor) const; // RGB32

    void setFills(const QList<Fill> &fills);
    void setPicture(const QImage &picture, QPoint at); // premultiplied; a null one takes it away
    void setInput(const SurfaceGlobals &globals, const QRegion &area);
    void setKeyboard(bool takesIt);

    // Shows what has changed, unless the compositor is still busy with what was shown before: then the next call does.
    void present();

private:
    void change(const QRegion &area);
    void paint(QImage &target, const QRect &part) const;
    QSize coveredPixels() const;

    OutputSurface m_surface;
    const QSize m_monitor;
    const double m_pointScale;
    bool m_isPlaced;
    QPoint m_origin;
    bool m_isMarked = false;
    QSize m_pixels; // of the buffers
    QList<Fill> m_fills;
    QImage m_picture;
    QPoint m_pictureAt;
    QRegion m_changed;                           // since it was shown last
    QHash<const ShmBuffer *, QRegion> m_missing; // what each buffer lacks
    bool m_isShown = false;
};

} // namespace qm

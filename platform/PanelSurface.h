#pragma once

#include <QImage>
#include <QPointF>
#include <QRect>

#include <functional>
#include <memory>

namespace qm {

// A small picture in the lower right corner of a monitor, above all windows and without the focus, where programs may not
// place windows: on Wayland, if the compositor has a layer shell. It is on the monitor that the compositor thinks is in use.
// Main thread. Of a compositor that goes, nothing more is heard.
class PanelSurface
{
public:
    // What the pointer does on it; positions are in points.
    struct Pointer {
        std::function<void(QPointF)> entered, moved;
        std::function<void()> left;
        std::function<void(QPointF, Qt::MouseButton, bool isDown)> button;
        std::function<void(bool dropped)> dragEnded;
    };

    static bool isOffered();
    // above: points between it and the edge of the monitor, or of a desktop's panel there. Null if there is no such surface.
    static std::unique_ptr<PanelSurface> make(QSize points, int above, Pointer pointer);
    virtual ~PanelSurface() = default;

    virtual void setAbove(int above) = 0;
    // Of a whole number of pixels a point, which is its device pixel ratio. Clicks beside seen go to what is below.
    virtual void show(const QImage &picture, const QRect &seen) = 0;
    virtual void setCursor(Qt::CursorShape shape) = 0; // while the pointer is on it
    // A file, dragged with the button that is down.
    virtual void dragFile(const QString &path, const QImage &picture) = 0;
};

} // namespace qm

#pragma once

#include "platform/PanelSurface.h"

#include <QWidget>

namespace qm {

// A small window in the lower right corner of a monitor, above all others: rounded, with a hairline that stands out from
// what is light and from what is dark. The window manager does not know it, so it never has the focus and no keys reach it.
// Main thread. Derived classes fill body(), or paint over it after paintEvent() here.
//
// Where programs may not place windows, the desktop sees no window: it gets a picture of this one, and says what the pointer
// does there, which this window then hears as if it was above it. There are no tool tips then, and nothing is
// shown if the desktop refuses the picture. Where it offers no place for one, this is an ordinary window.
class FloatingPanel : public QWidget
{
public:
    static bool isPossible(); // true if it is more than an ordinary window

    explicit FloatingPanel(int radius);

    // In the corner of its screen() or this far above, in points. The body has its size by then.
    void place(int above);
    // 0: in its place; 1: beyond the monitor's right edge. It never reaches into another monitor.
    void setSlide(double out);

    // All that it can cover while it slides, in native pixels of the desktop.
    QRect nativeFrame() const;

    static constexpr int margin = 12; // to the edges of the available area, and between panels

protected:
    QWidget *body() const { return m_body; }
    void paintEvent(QPaintEvent *event) override;
    bool event(QEvent *event) override;

    // Drags a file out of it, with this picture at the pointer. Returns once that has ended, or at once, depending on the
    // desktop.
    void dragFile(const QString &path, const QImage &picture);
    virtual void dragEnded(bool) {} // true: it was dropped somewhere

private:
    void shape();
    void openSurface();
    void showOnSurface();
    void hear(QEvent &event, QPointF at);

    QWidget *m_body;
    std::unique_ptr<PanelSurface> m_surface; // null where it is a window
    int m_above = 0;
    Qt::MouseButtons m_buttons; // down, on the surface
    int m_radius;
    double m_out = 0;
    bool m_blends; // its corners with what is below it
};

} // namespace qm

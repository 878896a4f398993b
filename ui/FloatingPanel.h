#pragma once

#include <QWidget>

namespace qm {

// A small window in the lower right corner of a monitor, above all others: rounded, with a hairline that stands out from
// what is light and from what is dark. The window manager does not know it, so it never has the focus and no keys reach it.
// Main thread. Derived classes fill body(), or paint over it after paintEvent() here.
class FloatingPanel : public QWidget
{
public:
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

private:
    void shape();

    QWidget *m_body;
    int m_radius;
    double m_out = 0;
    bool m_blends; // its corners with what is below it
};

} // namespace qm

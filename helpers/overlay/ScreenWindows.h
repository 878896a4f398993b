#pragma once

#include <QList>
#include <QRect>
#include <QString>

namespace qm {

// A window the user can point at. Rectangles are pixels of the whole screen.
struct ScreenWindow {
    quint32 top = 0;  // desktop's id of the top-level window, frame included
    QRect topArea;    // its area, including any border and invisible margin
    QRect frame;      // what the user sees as the window: without shadows and invisible margins
    quint8 depth = 0; // bits per pixel; 32 means it may be translucent
    QString title;
    bool offered = true; // false: only known because it covers others (a menu, a notification)
};

// Index of the topmost offered window at a point; -1 if there is none, or something opaque that is not offered covers
// it.
int windowAt(const QList<ScreenWindow> &windows, QPoint point);

// The visible part of a window's frame: the rectangle around what is on the screen and not covered. Empty if nothing is
// visible.
QRect visibleArea(const QList<ScreenWindow> &windows, int index, const QRect &screen);
bool isWhollyVisible(const QList<ScreenWindow> &windows, int index, const QRect &screen);

} // namespace qm

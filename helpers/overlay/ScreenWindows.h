#pragma once

#include <QList>
#include <QRect>
#include <QString>

namespace qm {

// A window a person can point at. Rectangles are pixels of the whole screen.
struct ScreenWindow {
    quint32 top = 0;  // the desktop's own number for what lies on the screen, frame included
    QRect topArea;    // its place, with any border and invisible margin
    QRect frame;      // what a person calls the window: its frame without shadows and invisible margins
    quint8 depth = 0; // bits a pixel of it; 32: it may be seen through
    QString title;
    bool offered = true; // false: only known to cover others (a menu, a notification)
};

// The topmost offered window at a point, unless something opaque that is not offered covers it there. An index, -1: none.
int windowAt(const QList<ScreenWindow> &windows, QPoint point);

// What of a window's frame can be seen: the rectangle around the part that is on the screen and that no other covers.
// Empty when nothing is seen.
QRect visibleArea(const QList<ScreenWindow> &windows, int index, const QRect &screen);
bool isWhollyVisible(const QList<ScreenWindow> &windows, int index, const QRect &screen);

} // namespace qm

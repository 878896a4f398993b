#pragma once

#include "helpers/freeze/WindowSurvey.h"

#include <QList>
#include <QRect>
#include <QString>

namespace qm {

// A window a person can point at. Rectangles are pixels of the whole screen.
struct ScreenWindow {
    xcb_window_t top = 0; // the child of the root that holds it, frame included: what lies on the screen
    QRect topArea;        // its place, with any border and invisible margin
    QRect frame;          // what a person calls the window: its frame without shadows and invisible margins
    quint8 depth = 0;     // of top
    QString title;
    bool offered = true; // false: only known to cover others (a menu, a notification)
};

// What lies on the screen, bottom first. The window manager's own list says what is a window, hidden ones and those of other
// desktops left out; where there is none, every child of the root is one.
QList<ScreenWindow> screenWindows(const WindowSurvey &survey, const QRect &screen);

// The topmost offered window at a point, unless something opaque that is not offered covers it there. An index, -1: none.
int windowAt(const QList<ScreenWindow> &windows, QPoint point);

// What of a window's frame can be seen: the rectangle around the part that is on the screen and that no other covers.
// Empty when nothing is seen.
QRect visibleArea(const QList<ScreenWindow> &windows, int index, const QRect &screen);
bool isWhollyVisible(const QList<ScreenWindow> &windows, int index, const QRect &screen);

} // namespace qm

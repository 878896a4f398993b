#pragma once

#include <QList>
#include <QPoint>
#include <QRect>

class QScreen;
class QWidget;

namespace qm {

// Places new windows on the screen the user is working on. Main thread; Qt's screen coordinates, y down, unless they are
// called native: pixels of the whole desktop.
namespace WindowPlacement {

// Whether windows stand where they are put and can do without the focus. On Wayland the compositor alone places them.
bool isOurs();

QScreen *activeScreen(); // the one with the pointer, the primary one if it is on none; null without any
// Its available area, without panels.
QRect activeScreenVisibleFrame();

// Centres the window horizontally in that frame, its top edge topMargin below the frame's; shifted if necessary to stay
// inside.
void placeOnActiveScreen(QWidget &window, int topMargin);
QPoint placed(const QRect &visibleFrame, QSize window, int topMargin); // returns its top left corner

// The top left corner for a window that is to cover as little as it can of the first of these, then of the second, and so
// on, wholly within the frame if it fits. Beside the last of them where there is room.
QPoint clearOf(const QList<QRect> &inSight, QSize window, const QRect &visibleFrame);

QScreen *screenWithMost(const QRect &native);             // of this area; the active one if it is on none
QRect toNative(const QRect &rect, const QScreen &screen); // which has the whole rectangle

} // namespace WindowPlacement
} // namespace qm

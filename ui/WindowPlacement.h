#pragma once

#include <QPoint>
#include <QRect>

class QWidget;

namespace qm {

// Places new windows on the screen the user is working on. Main thread; Qt's screen coordinates, y down.
namespace WindowPlacement {

// The available area, without panels, of the screen with the pointer (the primary one if it is on none).
QRect activeScreenVisibleFrame();

// Centres the window horizontally in that frame, its top edge topMargin below the frame's; shifted if necessary to stay
// inside.
void placeOnActiveScreen(QWidget &window, int topMargin);
QPoint placed(const QRect &visibleFrame, QSize window, int topMargin); // returns its top left corner

} // namespace WindowPlacement
} // namespace qm

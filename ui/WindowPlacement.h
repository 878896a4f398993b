#pragma once

#include <QPoint>
#include <QRect>

class QWidget;

namespace qm {

// Where new windows appear: on the screen the user is working on. Main thread; Qt's screen coordinates, y down.
namespace WindowPlacement {

// Of the screen with the pointer (the primary one when it is on none): what panels leave free.
QRect activeScreenVisibleFrame();

// Centred in that frame, the window's top edge topMargin below the frame's top; moved so that it stays inside.
void placeOnActiveScreen(QWidget &window, int topMargin);
QPoint placed(const QRect &visibleFrame, QSize window, int topMargin); // its top left corner

} // namespace WindowPlacement
} // namespace qm

#pragma once

#include "helpers/overlay/ScreenWindows.h"
#include "helpers/x11/WindowSurvey.h"

namespace qm {

// What lies on the screen, bottom first. The window manager's own list says what is a window, hidden ones and those of other
// desktops left out; where there is none, every child of the root is one.
QList<ScreenWindow> screenWindows(const WindowSurvey &survey, const QRect &screen);

} // namespace qm

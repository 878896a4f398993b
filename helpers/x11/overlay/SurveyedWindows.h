#pragma once

#include "helpers/overlay/ScreenWindows.h"
#include "helpers/x11/WindowSurvey.h"

namespace qm {

// The windows on the screen, bottom first. The window manager's list determines what is a window, without hidden ones
// and those of other desktops; without a manager, every child of the root is one.
QList<ScreenWindow> screenWindows(const WindowSurvey &survey, const QRect &screen);

} // namespace qm

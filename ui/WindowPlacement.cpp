#include "ui/WindowPlacement.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

#include <algorithm>

namespace qm {

QRect WindowPlacement::activeScreenVisibleFrame()
{
    const QScreen *screen = QGuiApplication::screenAt(QCursor::pos());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    return screen ? screen->availableGeometry() : QRect();
}

QPoint WindowPlacement::placed(const QRect &visibleFrame, QSize window, int topMargin)
{
    // A window larger than the frame keeps its upper left corner reachable.
    const auto inside = [](int wanted, int from, int length, int room) {
        return std::max(from, std::min(wanted, from + room - length));
    };
    return {inside(visibleFrame.left() + (visibleFrame.width() - window.width()) / 2, visibleFrame.left(),
                   window.width(), visibleFrame.width()),
            inside(visibleFrame.top() + topMargin, visibleFrame.top(), window.height(), visibleFrame.height())};
}

void WindowPlacement::placeOnActiveScreen(QWidget &window, int topMargin)
{
    window.move(placed(activeScreenVisibleFrame(), window.frameGeometry().size(), topMargin));
}

} // namespace qm

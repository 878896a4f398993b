#include "ui/WindowPlacement.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

#include <algorithm>

namespace qm {

QScreen *WindowPlacement::activeScreen()
{
    QScreen *screen = QGuiApplication::screenAt(QCursor::pos());
    return screen ? screen : QGuiApplication::primaryScreen();
}

QRect WindowPlacement::activeScreenVisibleFrame()
{
    const QScreen *screen = activeScreen();
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

// Qt scales each screen about its own upper left corner, which stays where the system has it.
QRect WindowPlacement::toNative(const QRect &rect, const QScreen &screen)
{
    const double scale = screen.devicePixelRatio();
    const QPoint corner = screen.geometry().topLeft();
    return QRect(corner + (rect.topLeft() - corner) * scale, rect.size() * scale);
}

QScreen *WindowPlacement::screenWithMost(const QRect &native)
{
    QScreen *best = activeScreen();
    qint64 most = 0;
    for (QScreen *screen : QGuiApplication::screens()) {
        const QRect part = toNative(screen->geometry(), *screen) & native;
        const qint64 pixels = qint64(part.width()) * part.height();
        if (!part.isEmpty() && pixels > most) {
            most = pixels;
            best = screen;
        }
    }
    return best;
}

} // namespace qm

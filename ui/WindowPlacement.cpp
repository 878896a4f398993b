#include "ui/WindowPlacement.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

#include <algorithm>

namespace qm {

bool WindowPlacement::isOurs()
{
    return !QGuiApplication::platformName().startsWith(QLatin1StringView("wayland"));
}

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

QPoint WindowPlacement::clearOf(const QList<QRect> &inSight, QSize window, const QRect &visibleFrame)
{
    constexpr int gap = 8;
    const QPoint least = visibleFrame.topLeft(), most(std::max(least.x(), visibleFrame.right() + 1 - window.width()),
                                                      std::max(least.y(), visibleFrame.bottom() + 1 - window.height()));
    const auto inFrame = [&](int x, int y) {
        return QPoint(std::clamp(x, least.x(), most.x()), std::clamp(y, least.y(), most.y()));
    };
    QList<QPoint> places;
    for (auto rect = inSight.rbegin(); rect != inSight.rend(); ++rect) {
        const QPoint before = rect->topLeft() - QPoint(gap + window.width(), gap + window.height()),
                     behind = rect->bottomRight() + QPoint(gap + 1, gap + 1);
        for (const QPoint beside : {inFrame(behind.x(), rect->top()), inFrame(before.x(), rect->top()),
                                    inFrame(rect->left(), behind.y()), inFrame(rect->left(), before.y())}) {
            if (!rect->intersects(QRect(beside, window)))
                places << beside;
        }
    }
    places << most << QPoint(least.x(), most.y()) << QPoint(most.x(), least.y()) << least;

    QPoint best;
    QList<int> leastCovered;
    for (const QPoint &place : places) {
        QList<int> covered;
        for (const QRect &rect : inSight) {
            const QRect both = rect & QRect(place, window);
            covered << both.width() * both.height();
        }
        if (leastCovered.isEmpty() || covered < leastCovered) {
            best = place;
            leastCovered = covered;
        }
    }
    return best;
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

#include "helpers/overlay/ScreenWindows.h"

#include <QRegion>

namespace qm {

int windowAt(const QList<ScreenWindow> &windows, QPoint point)
{
    for (qsizetype i = windows.size() - 1; i >= 0; --i) {
        const bool seeThrough = !windows[i].offered && windows[i].depth == 32;
        if (windows[i].frame.contains(point) && !seeThrough)
            return windows[i].offered ? int(i) : -1;
    }
    return -1;
}

static QRegion visibleRegion(const QList<ScreenWindow> &windows, int index, const QRect &screen)
{
    QRegion visible = windows[index].frame & screen;
    for (qsizetype i = index + 1; i < windows.size(); ++i)
        visible -= windows[i].frame;
    return visible;
}

QRect visibleArea(const QList<ScreenWindow> &windows, int index, const QRect &screen)
{
    return visibleRegion(windows, index, screen).boundingRect();
}

bool isWhollyVisible(const QList<ScreenWindow> &windows, int index, const QRect &screen)
{
    return visibleRegion(windows, index, screen) == QRegion(windows[index].frame);
}

} // namespace qm

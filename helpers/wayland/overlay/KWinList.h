#pragma once

#include "helpers/overlay/ScreenWindows.h"
#include "helpers/wayland/overlay/OutputLayout.h"

#include <QByteArray>
#include <QStringList>

namespace qm {

// The windows that KWinWindows::list() tells of, bottom first, and by what KWin knows each.
struct KWinList {
    QList<ScreenWindow> windows;
    QStringList ids;
};

// havePictures: then they count as translucent, for nobody tells which of them are.
KWinList kwinWindows(const QByteArray &list, const OutputLayout &layout, bool havePictures);

} // namespace qm

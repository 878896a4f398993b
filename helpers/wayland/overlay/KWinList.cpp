#include "helpers/wayland/overlay/KWinList.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace qm {

using namespace Qt::StringLiterals;

KWinList kwinWindows(const QByteArray &list, const OutputLayout &layout, bool havePictures)
{
    KWinList found;
    for (const QJsonValue &each : QJsonDocument::fromJson(list).array()) {
        ScreenWindow window;
        window.frame = window.topArea =
            layout.pixels(QRectF(each["x"_L1].toDouble(), each["y"_L1].toDouble(), each["width"_L1].toDouble(),
                                 each["height"_L1].toDouble()));
        if (window.frame.isEmpty())
            continue;
        window.offered = !each["isPopup"_L1].toBool();
        window.depth = havePictures || !window.offered ? 32 : 24;
        window.title = each["title"_L1].toString();
        found.windows.append(window);
        found.ids.append(each["id"_L1].toString());
    }
    return found;
}

} // namespace qm

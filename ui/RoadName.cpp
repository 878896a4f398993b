#include "ui/RoadName.h"

#include "ui/AppLocale.h"

namespace qm {

using AppLocale::text;

QString roadName(CaptureRoad::Kind road)
{
    switch (road) {
    case CaptureRoad::Kind::none: break;
    case CaptureRoad::Kind::system: return text(u"the system's capture tool", u"システムの撮影ツール");
    case CaptureRoad::Kind::x11: return text(u"X11", u"X11");
    case CaptureRoad::Kind::compositor: return text(u"the compositor (Wayland)", u"コンポジター（Wayland）");
    case CaptureRoad::Kind::kwin: return text(u"KWin (Wayland)", u"KWin（Wayland）");
    case CaptureRoad::Kind::portal:
        return text(u"the desktop's portal (Wayland)", u"デスクトップのポータル（Wayland）");
    }
    return text(u"nothing: the screen cannot be read here", u"なし（この環境では画面の画像を取得できません）");
}

} // namespace qm

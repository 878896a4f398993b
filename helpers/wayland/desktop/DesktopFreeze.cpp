#include "helpers/wayland/desktop/DesktopFreeze.h"

#include "helpers/wayland/desktop/KWinScreenShot.h"
#include "helpers/wayland/desktop/KWinWindows.h"
#include "helpers/wayland/desktop/ScreenshotPortal.h"
#include "helpers/wayland/desktop/UserBus.h"
#include "ui/AppLocale.h"

namespace qm {

static WaylandCurtain::Frozen failure(QStringView english, QStringView japanese)
{
    return {.failure = AppLocale::text(english, japanese).toStdString()};
}

static WaylandCurtain::Windows windowsOf(const UserBus &bus)
{
    using Source = WaylandCurtain::Windows::Source;
    std::string list = KWinWindows::list(bus);
    const Source source = list.empty() ? Source::nobody : Source::kwin;
    return {source, std::move(list)};
}

WaylandCurtain::Frozen freezeByDesktop(const WaylandOutputs &outputs)
{
    const UserBus bus;
    std::vector<OutputPicture> pictures = KWinScreenShot::take(bus, outputs);
    WaylandCurtain::Windows windows = windowsOf(bus);
    windows.havePictures = !pictures.empty(); // whom KWin refuses the screen, it refuses windows
    if (!pictures.empty())
        return {.pictures = std::move(pictures), .windows = std::move(windows)};
    const ScreenshotPortal::Answer answer = ScreenshotPortal::take(bus);
    using Kind = ScreenshotPortal::Answer::Kind;
    switch (answer.kind) {
    case Kind::cancelled: return {};
    case Kind::denied:
        return failure(u"this desktop has been told not to allow screenshots",
                       u"このデスクトップでは、スクリーンショットが許可されていません");
    case Kind::picture: pictures = ScreenshotPortal::cut(answer.picture, outputs); break;
    case Kind::failed: break;
    }
    if (pictures.empty())
        return failure(u"this desktop does not give a picture of the screen",
                       u"このデスクトップからは画面の画像を取得できません");
    return {.pictures = std::move(pictures), .windows = std::move(windows)};
}

} // namespace qm

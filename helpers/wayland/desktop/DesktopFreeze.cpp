#include "helpers/wayland/desktop/DesktopFreeze.h"

#include "helpers/wayland/desktop/KWinScreenShot.h"
#include "helpers/wayland/desktop/KWinWindows.h"
#include "helpers/wayland/desktop/ScreenshotPortal.h"
#include "helpers/wayland/desktop/UserBus.h"
#include "ui/AppLocale.h"

#include <QFile>
#include <QThread>

#include <future>

namespace qm {

using Frozen = WaylandCurtain::Frozen;
using Instead = WaylandCurtain::Instead;

// With a connection of its own: KWin makes the list while its picture is on the way.
static WaylandCurtain::Windows windowsOfDesktop()
{
    using Source = WaylandCurtain::Windows::Source;
    const UserBus bus;
    std::string list = KWinWindows::list(bus);
    const Source source = list.empty() ? Source::nobody : Source::kwin;
    return {source, std::move(list)};
}

QString noPictureOfScreen()
{
    return AppLocale::text(u"this desktop does not give a picture of the screen",
                           u"このデスクトップからは画面の画像を取得できません");
}

static Frozen frozenByPortal(const UserBus &bus, const WaylandOutputs &outputs)
{
    const ScreenshotPortal::Answer answer = ScreenshotPortal::take(bus, ScreenshotPortal::Manner::silent);
    using Kind = ScreenshotPortal::Answer::Kind;
    switch (answer.kind) {
    case Kind::cancelled: return {};
    case Kind::refused: return {.instead = Instead::dialog};
    case Kind::denied:
        return {.instead = Instead::denied,
                .reason = AppLocale::text(u"this desktop has been told not to allow screenshots",
                                          u"このデスクトップでは、スクリーンショットが許可されていません")
                              .toStdString()};
    case Kind::picture: QFile::remove(answer.file); break;
    case Kind::failed: break;
    }
    std::vector<OutputPicture> pictures = ScreenshotPortal::cut(answer.picture, outputs);
    if (pictures.empty())
        return {.instead = Instead::failed, .reason = noPictureOfScreen().toStdString()};
    return {.pictures = std::move(pictures)};
}

Frozen freezeByDesktop(const WaylandOutputs &outputs, FreezeFor what)
{
    std::future<WaylandCurtain::Windows> listing;
    QThread::currentThread(); // Qt takes the first thread that asks it anything for the main one: not that of the list
    if (what != FreezeFor::noChoice)
        listing = std::async(std::launch::async, windowsOfDesktop);
    const UserBus bus;
    std::vector<OutputPicture> pictures = KWinScreenShot::take(bus, outputs);
    WaylandCurtain::Windows windows = listing.valid() ? listing.get() : WaylandCurtain::Windows();
    windows.havePictures = !pictures.empty(); // whom KWin refuses the screen, it refuses windows
    if (!pictures.empty())
        return {.pictures = std::move(pictures), .windows = std::move(windows)};
    if (what == FreezeFor::window && windows.source == WaylandCurtain::Windows::Source::nobody)
        return {.instead = Instead::dialog};
    Frozen frozen = frozenByPortal(bus, outputs);
    frozen.windows = std::move(windows);
    return frozen;
}

} // namespace qm

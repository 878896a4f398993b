#include "helpers/qmscroll/wayland/WaylandScrollDesktop.h"

#include "helpers/overlay/Fonts.h"
#include "helpers/overlay/Overlay.h"
#include "helpers/overlay/Pixels.h"
#include "helpers/qmscroll/ScrollPanel.h"
#include "helpers/qmscroll/wayland/CastWay.h"
#include "helpers/qmscroll/wayland/KWinWay.h"
#include "helpers/qmscroll/wayland/WlrootsWay.h"
#include "helpers/wayland/WaylandCurtain.h"
#include "helpers/wayland/desktop/DesktopFreeze.h"
#include "helpers/wayland/overlay/SwayTree.h"
#include "helpers/wayland/overlay/WaylandOverlay.h"
#include "ui/AppLocale.h"

#include <QPainter>

#include <algorithm>
#include <thread>

namespace qm {

using namespace std::chrono_literals;

namespace {

constexpr auto releaseLimit = 3s;    // a key reported down for longer is stuck
constexpr auto holdLimit = 500ms;    // of a compositor that is busy
constexpr auto pointerLimit = 200ms; // until our surface has it
constexpr double frameLine = 2;      // points
constexpr double frameBorder = 1;
constexpr QRgb accent = 0xff0a84ff;
constexpr QRgb white = 0xffffffff;

constexpr const ScrollWay *ways[] = {&wlrootsWay, &kwinWay, &castWay};

QImage withRoundCorners(const QImage &picture, int radius)
{
    QImage rounded(picture.size(), QImage::Format_ARGB32_Premultiplied);
    rounded.fill(Qt::transparent);
    QPainter painter(&rounded);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(picture);
    painter.drawRoundedRect(picture.rect(), radius, radius);
    return rounded;
}

int largestPart(const QList<QRect> &areas, const QRect &of)
{
    const auto shown = [&of](const QRect &area) { return qint64((area & of).width()) * (area & of).height(); };
    return int(std::max_element(areas.begin(), areas.end(),
                                [&](const QRect &a, const QRect &b) { return shown(a) < shown(b); }) -
               areas.begin());
}

} // namespace

std::unique_ptr<ScrollDesktop> WaylandScrollDesktop::open(QString *failure)
{
    std::unique_ptr<WaylandServer> server = WaylandServer::connect();
    if (!server)
        return nullptr;
    for (const ScrollWay *way : ways) {
        if (way->isOffered(*server))
            return std::unique_ptr<ScrollDesktop>(new WaylandScrollDesktop(std::move(server), *way));
    }
    *failure = QStringLiteral("this desktop does not let a region be captured while it is scrolled");
    return nullptr;
}

WaylandScrollDesktop::WaylandScrollDesktop(std::unique_ptr<WaylandServer> server, const ScrollWay &way)
    : m_server(std::move(server))
    , m_way(way)
    , m_outputs(*m_server)
    , m_globals(*m_server)
{
}

bool WaylandScrollDesktop::claim()
{
    m_claim.emplace();
    return m_claim->isOurs();
}

void WaylandScrollDesktop::waitForRest(const QRect &)
{
    std::this_thread::sleep_for(WaylandCurtain::restTime);
}

std::optional<ScrollDesktop::Region> WaylandScrollDesktop::chooseRegion(QString *failure)
{
    using Instead = WaylandCurtain::Instead;
    const auto freeze = qgetenv("QUILLMERE_DISPLAY") == "desktop" ? WaylandCurtain::Freeze::byDesktop
                                                                  : WaylandCurtain::Freeze::byCompositor;
    WaylandCurtain curtain(*m_server, WaylandCurtain::Kind::covering, freeze,
                           [](const WaylandOutputs &outputs) { return freezeByDesktop(outputs, FreezeFor::region); });
    if (!curtain.isUp()) {
        if (curtain.instead() == Instead::dialog)
            *failure = noPictureOfScreen();
        else if (curtain.instead() != Instead::cancelled)
            *failure = QString::fromStdString(curtain.reason());
        return {};
    }
    WaylandOverlay desktop(curtain);
    Overlay overlay(desktop, {.mode = Picker::Mode::region,
                              .offer = Picker::Offer::regionOnly,
                              .makeReadyForText = [&] { m_fonts = startFonts(); },
                              .chosen =
                                  [&](Picker::Result result) {
                                      if (result == Picker::Result::region)
                                          holdKeyboard();
                                  }});
    const Overlay::Choice choice = overlay.run();
    *failure = choice.failure;
    if (!choice.failure.isEmpty() || choice.result != Picker::Result::region)
        return {};
    m_layout = desktop.screen().layout();
    m_output = largestPart(m_layout->areas(), choice.area);
    const QRect monitor = m_layout->areas()[m_output];
    m_region = choice.area & monitor;
    if (m_region.isEmpty() || haveMonitorsChanged()) {
        *failure = AppLocale::text(u"the screen changed", u"画面の構成が変わりました");
        return {};
    }
    const WaylandOutput &output = *m_outputs.all()[size_t(m_output)];
    m_frames = m_way.frames(*m_server, m_outputs,
                            {.output = output.name,
                             .pixels = m_region.translated(-monitor.topLeft()),
                             .monitor = monitor.size(),
                             .logical = output.logical},
                            failure);
    if (!m_frames)
        return {};
    m_wheel = m_way.wheel(*m_server, m_outputs);
    m_sway = SwayIpc::connect();
    return Region{.area = m_region,
                  .scale = output.pointScale(),
                  .pictureScale = qm::pictureScale(desktop.screen().monitors(), m_region),
                  .before = {}}; // windows may look otherwise once they have lost the keyboard
}

// Many programs fade a window when it gets the keyboard or loses it, and it would do both between overlay and cover. But where
// the portal may ask the user in between, its dialog needs the keyboard.
void WaylandScrollDesktop::holdKeyboard()
{
    if (!m_globals.layerShell || &m_way == &castWay)
        return;
    m_keyboardHolder.emplace(m_globals, *m_outputs.all().front(), QSize(1, 1));
    m_keyboardHolder->setKeyboard(true);
    m_server->waitFor([this] { return m_keyboardHolder->isConfigured(); }, holdLimit);
    m_keyboardHolder->present();
    m_server->roundTrip();
}

// A monitor may have come, gone or changed since; then what is known of all places is wrong.
bool WaylandScrollDesktop::haveMonitorsChanged() const
{
    return m_outputs.haveChanged() || m_outputs.all().size() != size_t(m_layout->areas().size()) ||
           (m_cover && m_cover->isClosed());
}

QImage WaylandScrollDesktop::grab()
{
    return haveMonitorsChanged() ? QImage() : m_frames->grab();
}

PanelPlace WaylandScrollDesktop::showFrame()
{
    const QList<QRect> &areas = m_layout->areas();
    // Where the user scrolls, there is no need to cover others; GNOME, where the cover is a window, would show it as one.
    QList<int> covered = {m_output};
    for (int i = 0; m_wheel && i < areas.size(); ++i) {
        if (i != m_output)
            covered.append(i);
    }
    m_cover.emplace(*m_server, m_outputs, *m_layout, m_region, m_output, covered);
    const bool isPlaced = m_cover->findPlace([this] { return m_frames->grabMonitor(); });
    const auto screen = [&](int i) { return PanelScreen{m_cover->area(i), m_outputs.all()[size_t(i)]->pointScale()}; };
    const PanelScreen own = screen(m_output);
    QList<PanelScreen> others;
    for (const int i : covered.mid(1))
        others.append(screen(i));
    const int line = pixels(frameLine, own.scale);
    const int border = pixels(frameBorder, own.scale);
    const QRect inner = m_region.adjusted(-line, -line, line, line);
    const QRect outer = inner.adjusted(-border, -border, border, border);
    const PanelPlace place = placePanel(outer, own, others);
    m_panelAt = place.at;
    // As long as the cover has no size, the place may be on a monitor without one.
    const int panelOutput = largestPart(areas, QRect(place.at, ScrollPanel::size(place.shape, place.scale)));
    m_panelOutput = covered.contains(panelOutput) ? panelOutput : m_output;
    m_panelRadius = ScrollPanel::cornerRadius(place.scale);

    if (isPlaced)
        m_cover->setFrame({{QRegion(outer) - inner, white}, {QRegion(inner) - m_region, accent}});
    m_cover->present();
    m_server->roundTrip();
    m_keyboardHolder.reset();
    m_cover->keepKeyboard();
    if (!m_doesUserScroll)
        movePointer(m_region.center()); // from now on it is not seen in the region
    return place;
}

void WaylandScrollDesktop::showPanel(const QImage &picture)
{
    m_cover->setPanel(withRoundCorners(picture, m_panelRadius), m_panelAt, m_panelOutput);
    m_cover->present();
}

void WaylandScrollDesktop::hidePanel()
{
    m_cover->setPanel({}, m_panelAt, m_panelOutput);
    m_cover->present();
}

void WaylandScrollDesktop::hideFrame()
{
    m_cover->setFrame({});
    m_cover->setReach(ScrollCover::Reach::nowhere);
    m_cover->present();
}

void WaylandScrollDesktop::setUserScrolls(bool doesSo)
{
    if (std::exchange(m_doesUserScroll, doesSo) == doesSo || !m_cover)
        return;
    if (doesSo)
        m_cover->setReach(ScrollCover::Reach::nowhere);
    else
        movePointer(m_target);
}

ScrollDesktop::Pointer WaylandScrollDesktop::pointer()
{
    m_server->dispatch(0ms);
    const QPoint nowhere = m_layout->bounds().topLeft() - QPoint(1, 1); // something else has it
    m_window = m_doesUserScroll ? 0 : windowAtTarget();
    return {m_cover->hasPointer() ? m_cover->pointer()
            : m_doesUserScroll    ? m_target
                                  : nowhere,
            m_cover->isHeld(), m_window};
}

// The window that gets the wheel, where the compositor tells of its windows; if it does not answer, as far as is known.
quint32 WaylandScrollDesktop::windowAtTarget()
{
    const std::optional<std::string> tree = m_sway ? m_sway->ask(SwayIpc::getTree) : std::nullopt;
    if (!tree) {
        if (m_sway)
            m_sway = SwayIpc::connect(); // the old connection is of no more use
        return m_window;
    }
    QStringList names;
    for (const std::unique_ptr<WaylandOutput> &output : m_outputs.all())
        names.append(QString::fromStdString(output->name));
    const auto windows =
        swayWindows(QByteArray::fromStdString(*tree), names, *m_layout).value_or(QList<ScreenWindow>());
    const int found = windowAt(windows, m_target);
    return found < 0 ? 0 : windows[found].top;
}

void WaylandScrollDesktop::movePointer(QPoint to)
{
    m_target = to;
    turnInRegion(0);
}

void WaylandScrollDesktop::turnWheel(int clicks)
{
    m_server->dispatch(0ms);
    if (m_cover->hasPointerInRegion())
        turnInRegion(clicks);
}

// The pointer is brought to its place each time: whatever else lies in the region is never turned.
void WaylandScrollDesktop::turnInRegion(int clicks)
{
    const QRect logical = m_outputs.all()[size_t(m_output)]->logical;
    const QPointF offset = QPointF(m_target - m_layout->areas()[m_output].topLeft()) + QPointF(0.5, 0.5);
    const QPointF place = QPointF(logical.topLeft()) + offset / m_layout->scale(m_output);
    if (clicks != 0) {
        m_cover->setReach(ScrollCover::Reach::aroundRegion);
        m_wheel->movePointer(place);
        if (windowAtTarget() == m_window) // it may have changed since that was told
            m_wheel->turn(clicks);
    }
    const bool isTakenAway = clicks != 0 && m_cover->hasPointer() && !m_cover->hasPointerInRegion();
    m_cover->setReach(ScrollCover::Reach::region);
    if (isTakenAway)
        return; // by the user, meanwhile
    m_wheel->movePointer(place);
    m_server->waitFor([this] { return m_cover->hasPointer(); }, pointerLimit);
    m_cover->followKeyboard(); // which goes if the pointer has not come
}

ScrollDesktop::Input WaylandScrollDesktop::wait(std::chrono::milliseconds limit)
{
    m_cover->present(); // what had to wait
    if (const std::optional<Input> input = m_cover->takeInput())
        return *input;
    m_server->dispatch(limit);
    if (const int clicks = m_cover->takeClicks(); clicks != 0 && !m_doesUserScroll)
        turnWheel(clicks); // the user's, which the cover has taken
    const std::optional<Input> input = m_cover->takeInput();
    return input ? *input : Input{m_server->isBroken() ? Input::Kind::gone : Input::Kind::none, {}};
}

void WaylandScrollDesktop::letGo()
{
    m_server->waitFor([this] { return m_cover->areKeysUp(); }, releaseLimit);
    m_cover->leaveKeyboard();
    m_claim->giveUp();
}

} // namespace qm

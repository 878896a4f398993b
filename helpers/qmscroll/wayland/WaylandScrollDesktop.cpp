#include "helpers/qmscroll/wayland/WaylandScrollDesktop.h"

#include "helpers/overlay/Fonts.h"
#include "helpers/overlay/KeySymbols.h"
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

#include <QDeadlineTimer>
#include <QPainter>

#include <algorithm>
#include <linux/input-event-codes.h>
#include <thread>
#include <wayland-client-protocol.h>

namespace qm {

using namespace std::chrono_literals;

namespace {

constexpr auto showLimit = 2s;    // of a compositor that is busy
constexpr auto releaseLimit = 3s; // a key reported down for longer is stuck
constexpr double frameLine = 2;   // points
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

struct WaylandScrollDesktop::Listeners {
    static WaylandScrollDesktop &of(void *self) { return *static_cast<WaylandScrollDesktop *>(self); }
    static QPointF point(wl_fixed_t x, wl_fixed_t y) { return {wl_fixed_to_double(x), wl_fixed_to_double(y)}; }

    static wl_pointer_listener pointer()
    {
        wl_pointer_listener listener = {};
        listener.enter = [](void *self, wl_pointer *, uint32_t, wl_surface *surface, wl_fixed_t x, wl_fixed_t y) {
            of(self).entered(surface, point(x, y));
        };
        listener.leave = [](void *self, wl_pointer *, uint32_t, wl_surface *) {
            of(self).m_pointerOutput = -1;
            of(self).m_inputs.append({Input::Kind::pointer, {-1, -1}});
        };
        listener.motion = [](void *self, wl_pointer *, uint32_t, wl_fixed_t x, wl_fixed_t y) {
            of(self).moved(point(x, y));
        };
        listener.button = [](void *self, wl_pointer *, uint32_t, uint32_t, uint32_t button, uint32_t state) {
            if (button == BTN_LEFT)
                of(self).button(state == WL_POINTER_BUTTON_STATE_PRESSED);
        };
        listener.axis = [](void *, wl_pointer *, uint32_t, uint32_t, wl_fixed_t) {};
        listener.frame = [](void *, wl_pointer *) {};
        listener.axis_source = [](void *, wl_pointer *, uint32_t) {};
        listener.axis_stop = [](void *, wl_pointer *, uint32_t, uint32_t) {};
        listener.axis_discrete = [](void *, wl_pointer *, uint32_t, int32_t) {};
        return listener;
    }

    static constexpr wl_keyboard_listener keyboard = {
        .keymap = [](void *self, wl_keyboard *, uint32_t, int32_t file,
                     uint32_t size) { of(self).m_keymap.read(file, size); },
        .enter = [](void *, wl_keyboard *, uint32_t, wl_surface *, wl_array *) {},
        .leave = [](void *self, wl_keyboard *, uint32_t, wl_surface *) { of(self).m_keysDown.clear(); },
        .key = [](void *self, wl_keyboard *, uint32_t, uint32_t, uint32_t code,
                  uint32_t state) { of(self).key(code, state == WL_KEYBOARD_KEY_STATE_PRESSED); },
        .modifiers =
            [](void *self, wl_keyboard *, uint32_t, uint32_t depressed, uint32_t latched, uint32_t locked,
               uint32_t group) {
                constexpr uint32_t changeTheWheel = 1 | 4 | 8 | 64; // Shift, Control, Alt, Super: as in every keymap
                of(self).m_isWheelChanged = depressed & changeTheWheel;
                of(self).m_keymap.setModifiers(depressed, latched, locked, group);
            },
        .repeat_info = [](void *, wl_keyboard *, int32_t, int32_t) {},
    };
};

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
    , m_globals(*m_server)
    , m_outputs(*m_server)
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
                              .makeReadyForText = [&] { m_fonts = startFonts(); }});
    const Overlay::Choice choice = overlay.run();
    *failure = choice.failure;
    if (!choice.failure.isEmpty() || choice.result != Picker::Result::region)
        return {};
    m_layout = desktop.screen().layout();
    m_output = largestPart(m_layout->areas(), choice.area);
    const QRect monitor = m_layout->areas()[m_output];
    m_region = choice.area & monitor;
    if (m_region.isEmpty() || haveMonitorsChanged())
        return {};
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
    return Region{m_region, output.pointScale(), qm::pictureScale(desktop.screen().monitors(), m_region),
                  desktop.screen().pixels().copy(m_region)};
}

// A monitor may have come, gone or changed since; then what is known of all places is wrong.
bool WaylandScrollDesktop::haveMonitorsChanged() const
{
    return m_outputs.haveChanged() || m_outputs.all().size() != size_t(m_layout->areas().size()) ||
           std::any_of(m_surfaces.begin(), m_surfaces.end(), [](const auto &surface) { return surface->isClosed(); });
}

QImage WaylandScrollDesktop::grab()
{
    return haveMonitorsChanged() ? QImage() : m_frames->grab();
}

PanelPlace WaylandScrollDesktop::showFrame()
{
    const QList<QRect> &areas = m_layout->areas();
    const auto screen = [&](int i) { return PanelScreen{areas[i], m_outputs.all()[size_t(i)]->pointScale()}; };
    const PanelScreen own = screen(m_output);
    QList<PanelScreen> others;
    for (int i = 0; i < areas.size(); ++i) {
        m_surfaces.push_back(std::make_unique<SideSurface>(m_globals, *m_outputs.all()[size_t(i)], areas[i].size()));
        if (i != m_output)
            others.append(screen(i));
    }
    m_server->waitFor(
        [this] {
            return std::all_of(m_surfaces.begin(), m_surfaces.end(),
                               [](const auto &surface) { return surface->isConfigured() || surface->isClosed(); });
        },
        showLimit);

    const int line = pixels(frameLine, own.scale);
    const int border = pixels(frameBorder, own.scale);
    const QRect inner = m_region.adjusted(-line, -line, line, line);
    const QRect outer = inner.adjusted(-border, -border, border, border);
    const QPoint corner = own.area.topLeft();
    SideSurface &surface = *m_surfaces[size_t(m_output)];
    surface.setFills({{(QRegion(outer) - inner).translated(-corner), white},
                      {(QRegion(inner) - m_region).translated(-corner), accent}});
    surface.setKeyboard(true);

    const PanelPlace place = placePanel(outer, own, others);
    m_panelAt = place.at;
    m_panelOutput = largestPart(areas, QRect(place.at, ScrollPanel::size(place.shape, place.scale)));
    m_panelRadius = ScrollPanel::cornerRadius(place.scale);
    m_seat.emplace(*m_server);
    m_server->roundTrip();
    static const wl_pointer_listener pointer = Listeners::pointer();
    m_seat->listen(pointer, Listeners::keyboard, this);
    setReach(Reach::panel);
    present();
    return place;
}

void WaylandScrollDesktop::showPanel(const QImage &picture)
{
    const bool wasHidden = m_panel.isNull();
    m_panel = withRoundCorners(picture, m_panelRadius);
    m_surfaces[size_t(m_panelOutput)]->setPicture(m_panel, m_panelAt - m_layout->areas()[m_panelOutput].topLeft());
    if (wasHidden)
        setReach(m_reach);
    present();
}

void WaylandScrollDesktop::hidePanel()
{
    m_panel = {};
    m_surfaces[size_t(m_panelOutput)]->setPicture({}, {});
    setReach(m_reach);
    present();
}

void WaylandScrollDesktop::hideFrame()
{
    m_surfaces[size_t(m_output)]->setFills({});
    setReach(Reach::panel);
    present();
}

void WaylandScrollDesktop::setReach(Reach reach)
{
    m_reach = reach;
    for (int i = 0; i < int(m_surfaces.size()); ++i) {
        const QRect area = m_layout->areas()[i];
        QRegion taken = reach == Reach::outside  ? QRegion(area) - m_region
                        : reach == Reach::inside ? QRegion(m_region)
                                                 : QRegion();
        taken += panelArea();
        m_surfaces[size_t(i)]->setInput(m_globals, (taken & area).translated(-area.topLeft()));
    }
    wl_display_flush(m_server->get());
}

void WaylandScrollDesktop::present()
{
    for (const std::unique_ptr<SideSurface> &surface : m_surfaces)
        surface->present();
    wl_display_flush(m_server->get());
}

void WaylandScrollDesktop::entered(const wl_surface *surface, QPointF at)
{
    const auto found = std::find_if(m_surfaces.begin(), m_surfaces.end(),
                                    [surface](const auto &each) { return each->handle() == surface; });
    m_pointerOutput = found == m_surfaces.end() ? -1 : int(found - m_surfaces.begin());
    moved(at);
}

void WaylandScrollDesktop::moved(QPointF at)
{
    if (m_pointerOutput < 0)
        return;
    m_pointer = m_layout->areas()[m_pointerOutput].topLeft() + m_surfaces[size_t(m_pointerOutput)]->pixelAt(at);
    m_inputs.append({Input::Kind::pointer, m_pointer - m_panelAt});
    followPointer();
}

void WaylandScrollDesktop::followPointer()
{
    const bool isInside = this->isInside(m_pointer);
    if (m_reach == Reach::outside && !isInside && !panelArea().contains(m_pointer))
        setReach(Reach::inside);
    else if (m_reach == Reach::inside && isInside)
        setReach(Reach::outside);
}

void WaylandScrollDesktop::button(bool isDown)
{
    const bool isOnPanel = m_pointerOutput >= 0 && panelArea().contains(m_pointer);
    if (isDown ? isOnPanel : m_hasPressed)
        m_inputs.append({isDown ? Input::Kind::press : Input::Kind::release, m_pointer - m_panelAt});
    m_hasPressed = isDown && isOnPanel;
}

void WaylandScrollDesktop::key(quint32 code, bool isDown)
{
    if (!isDown) {
        m_keysDown.remove(code);
        return;
    }
    const Picker::Key meaning = KeySymbols::meaning(m_keymap.symbol(code));
    if (m_isWheelChanged || (meaning != Picker::Key::enter && meaning != Picker::Key::escape))
        return;
    m_keysDown.insert(code);
    m_inputs.append({meaning == Picker::Key::enter ? Input::Kind::enter : Input::Kind::escape, {}});
}

// Where nothing of ours has the pointer, it is where we do not take it.
ScrollDesktop::Pointer WaylandScrollDesktop::pointer()
{
    m_server->dispatch(0ms);
    const QPoint nowhere = m_layout->bounds().topLeft() - QPoint(1, 1);
    Pointer pointer = {m_pointerOutput >= 0        ? m_pointer
                       : m_reach == Reach::outside ? m_target
                                                   : nowhere,
                       m_isWheelChanged, 0};
    if (m_reach != Reach::panel)
        pointer.window = windowAtTarget();
    return pointer;
}

// The window that gets the wheel, where the compositor tells of its windows.
quint32 WaylandScrollDesktop::windowAtTarget()
{
    if (!m_sway)
        return 0;
    const std::optional<std::string> tree = m_sway->ask(SwayIpc::getTree);
    if (!tree)
        m_sway.reset();
    QStringList names;
    for (const std::unique_ptr<WaylandOutput> &output : m_outputs.all())
        names.append(QString::fromStdString(output->name));
    const auto windows = swayWindows(QByteArray::fromStdString(tree.value_or(std::string())), names, *m_layout)
                             .value_or(QList<ScreenWindow>());
    const int found = windowAt(windows, m_target);
    return found < 0 ? 0 : windows[found].top;
}

void WaylandScrollDesktop::movePointer(QPoint to)
{
    m_target = to;
    setReach(Reach::outside);
    turnWheel(0);
}

// The pointer is brought back to its place, for within the region nobody knows where the user has moved it: whatever else lies
// there is never scrolled.
void WaylandScrollDesktop::turnWheel(int clicks)
{
    m_server->dispatch(0ms);
    if (m_reach != Reach::outside || (m_pointerOutput >= 0 && !isInside(m_pointer)))
        return;
    const QRect logical = m_outputs.all()[size_t(m_output)]->logical;
    const QPointF offset = QPointF(m_target - m_layout->areas()[m_output].topLeft()) + QPointF(0.5, 0.5);
    m_wheel->movePointer(QPointF(logical.topLeft()) + offset / m_layout->scale(m_output));
    m_wheel->turn(clicks);
}

ScrollDesktop::Input WaylandScrollDesktop::wait(std::chrono::milliseconds limit)
{
    present(); // what had to wait
    if (m_inputs.isEmpty())
        m_server->dispatch(limit);
    if (m_inputs.isEmpty())
        return {m_server->isBroken() ? Input::Kind::gone : Input::Kind::none, {}};
    return m_inputs.takeFirst();
}

void WaylandScrollDesktop::letGo()
{
    if (!m_surfaces.empty()) {
        m_server->waitFor([this] { return m_keysDown.isEmpty(); }, releaseLimit);
        m_surfaces[size_t(m_output)]->setKeyboard(false);
        m_server->roundTrip();
    }
    m_claim->giveUp();
}

} // namespace qm

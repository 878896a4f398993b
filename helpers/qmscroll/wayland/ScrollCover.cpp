#include "helpers/qmscroll/wayland/ScrollCover.h"

#include "helpers/overlay/KeySymbols.h"

#include <QDeadlineTimer>

#include <algorithm>
#include <cmath>
#include <linux/input-event-codes.h>
#include <wayland-client-protocol.h>

namespace qm {

using namespace std::chrono_literals;
using Input = ScrollDesktop::Input;

static constexpr auto showLimit = 2s;          // of a compositor that is busy
static constexpr auto placeLimit = 2s;         // of one that lets windows fade in
static constexpr double distanceOfAClick = 15; // of the wheel, as most compositors report it

struct ScrollCover::Listeners {
    static ScrollCover &of(void *self) { return *static_cast<ScrollCover *>(self); }
    static QPointF point(wl_fixed_t x, wl_fixed_t y) { return {wl_fixed_to_double(x), wl_fixed_to_double(y)}; }

    // Events of newer versions, of which each release of the protocol knows more, have no handler.
    static wl_pointer_listener pointer()
    {
        wl_pointer_listener listener = {};
        listener.enter = [](void *self, wl_pointer *, uint32_t serial, wl_surface *surface, wl_fixed_t x,
                            wl_fixed_t y) { of(self).entered(surface, serial, point(x, y)); };
        listener.leave = [](void *self, wl_pointer *, uint32_t, wl_surface *) { of(self).left(); };
        listener.motion = [](void *self, wl_pointer *, uint32_t, wl_fixed_t x, wl_fixed_t y) {
            of(self).moved(point(x, y));
        };
        listener.button = [](void *self, wl_pointer *, uint32_t, uint32_t, uint32_t button, uint32_t state) {
            if (button == BTN_LEFT)
                of(self).button(state == WL_POINTER_BUTTON_STATE_PRESSED);
        };
        listener.axis = [](void *self, wl_pointer *, uint32_t, uint32_t axis, wl_fixed_t distance) {
            if (axis == WL_POINTER_AXIS_VERTICAL_SCROLL)
                of(self).turned(wl_fixed_to_double(distance));
        };
        listener.frame = [](void *, wl_pointer *) {};
        listener.axis_source = [](void *, wl_pointer *, uint32_t) {};
        listener.axis_stop = [](void *, wl_pointer *, uint32_t, uint32_t) {};
        listener.axis_discrete = [](void *self, wl_pointer *, uint32_t axis, int32_t clicks) {
            if (axis != WL_POINTER_AXIS_VERTICAL_SCROLL)
                return;
            of(self).m_clicks += clicks;
            of(self).m_hasSteps = true;
        };
        return listener;
    }

    static constexpr wl_keyboard_listener keyboard = {
        .keymap = [](void *self, wl_keyboard *, uint32_t, int32_t file,
                     uint32_t size) { of(self).m_keymap.read(file, size); },
        .enter = [](void *, wl_keyboard *, uint32_t, wl_surface *, wl_array *) {},
        .leave =
            [](void *self, wl_keyboard *, uint32_t, wl_surface *) {
                of(self).m_keysDown.clear();
                of(self).m_areModifiersDown = false;
            },
        .key = [](void *self, wl_keyboard *, uint32_t, uint32_t, uint32_t code,
                  uint32_t state) { of(self).key(code, state == WL_KEYBOARD_KEY_STATE_PRESSED); },
        .modifiers =
            [](void *self, wl_keyboard *, uint32_t, uint32_t depressed, uint32_t latched, uint32_t locked,
               uint32_t group) {
                constexpr uint32_t changeTheWheel =
                    1 | 4 | 8 | 64; // Shift, Control, Alt and Super, as all keymaps have them
                of(self).m_areModifiersDown = depressed & changeTheWheel;
                of(self).m_keymap.setModifiers(depressed, latched, locked, group);
            },
        .repeat_info = [](void *, wl_keyboard *, int32_t, int32_t) {},
    };
};

ScrollCover::ScrollCover(WaylandServer &server, const WaylandOutputs &outputs, const OutputLayout &layout,
                         const QRect &region, int regionOutput, const QList<int> &covered)
    : m_server(server)
    , m_layout(layout)
    , m_region(region)
    , m_regionOutput(regionOutput)
    , m_globals(server)
    , m_seat(server)
    , m_cursor(m_globals.compositor, m_globals.shm)
    , m_surfaces(outputs.all().size())
{
    for (const int i : covered) {
        const WaylandOutput &output = *outputs.all()[size_t(i)];
        m_surfaces[size_t(i)] = std::make_unique<SideSurface>(m_globals, output, layout.areas()[i].size());
        m_cursorScale = std::max(m_cursorScale, output.scale);
    }
    const auto isReady = [](const auto &surface) { return !surface || surface->isConfigured() || surface->isClosed(); };
    server.waitFor([&] { return std::all_of(m_surfaces.begin(), m_surfaces.end(), isReady); }, showLimit);
    static const wl_pointer_listener pointer = Listeners::pointer();
    m_seat.listen(pointer, Listeners::keyboard, this);
    followKeyboard();
}

bool ScrollCover::isClosed() const
{
    return std::any_of(m_surfaces.begin(), m_surfaces.end(),
                       [](const auto &surface) { return surface && surface->isClosed(); });
}

bool ScrollCover::findPlace(const std::function<QImage()> &grabMonitor)
{
    SideSurface &surface = *m_surfaces[size_t(m_regionOutput)];
    if (surface.isPlaced())
        return true;
    const auto seenWithMark = [&](bool isShown) {
        surface.setMark(isShown);
        m_server.roundTrip();
        present();
        return grabMonitor();
    };
    std::optional<QPoint> found;
    for (const QDeadlineTimer deadline(placeLimit); !found && !deadline.hasExpired();) // it may come up slowly
        found = surface.findMark(seenWithMark(true));
    // It must be gone before the region is looked at.
    for (const QDeadlineTimer deadline(placeLimit);
         !deadline.hasExpired() && surface.findMark(seenWithMark(false)).has_value();) {
    }
    surface.place(found);
    return found.has_value();
}

QRect ScrollCover::area(int output) const
{
    const SideSurface *const surface = m_surfaces[size_t(output)].get();
    return surface->covered().translated(m_layout.areas()[output].topLeft());
}

void ScrollCover::setFrame(const QList<SideSurface::Fill> &fills)
{
    QList<SideSurface::Fill> own = fills;
    for (SideSurface::Fill &fill : own)
        fill.area.translate(-m_layout.areas()[m_regionOutput].topLeft());
    m_surfaces[size_t(m_regionOutput)]->setFills(own);
}

void ScrollCover::setPanel(const QImage &picture, QPoint at, int output)
{
    m_surfaces[size_t(output)]->setPicture(picture, at - m_layout.areas()[output].topLeft());
    const QRect panel(at, picture.size());
    if (std::exchange(m_panel, panel) != panel)
        setReach(m_reach);
}

void ScrollCover::present()
{
    for (const std::unique_ptr<SideSurface> &surface : m_surfaces) {
        if (surface)
            surface->present();
    }
    wl_display_flush(m_server.get());
}

void ScrollCover::setReach(Reach reach)
{
    m_reach = reach;
    for (size_t i = 0; i < m_surfaces.size(); ++i) {
        if (!m_surfaces[i])
            continue;
        const QRect area = m_layout.areas()[qsizetype(i)];
        QRegion taken;
        if (reach != Reach::nowhere)
            taken = reach == Reach::region ? QRegion(m_region) : QRegion(area) - m_region;
        taken += m_panel;
        m_surfaces[i]->setInput(m_globals, (taken & area).translated(-area.topLeft()));
    }
    if (reach != Reach::region)
        followKeyboard();
    wl_display_flush(m_server.get());
}

void ScrollCover::entered(const wl_surface *surface, quint32 serial, QPointF at)
{
    const auto found = std::find_if(m_surfaces.begin(), m_surfaces.end(),
                                    [surface](const auto &each) { return each && each->handle() == surface; });
    if (found == m_surfaces.end())
        return;
    m_pointerOutput = int(found - m_surfaces.begin());
    m_serial = serial;
    m_isCursorHidden.reset();
    moved(at);
}

void ScrollCover::moved(QPointF at)
{
    if (!hasPointer())
        return;
    m_pointer = m_layout.areas()[m_pointerOutput].topLeft() + m_surfaces[size_t(m_pointerOutput)]->pixelAt(at);
    m_inputs.append({Input::Kind::pointer, m_pointer - m_panel.topLeft()});
    showCursor();
    followKeyboard();
}

void ScrollCover::left()
{
    m_pointerOutput = -1;
    m_isButtonDown = m_hasPressed = false;
    m_inputs.append({Input::Kind::pointer, {-1, -1}});
    followKeyboard();
}

void ScrollCover::showCursor()
{
    if (!hasPointer() || m_isCursorHidden == isInRegion())
        return;
    m_isCursorHidden = isInRegion();
    if (*m_isCursorHidden)
        wl_pointer_set_cursor(m_seat.pointer(), m_serial, nullptr, 0, 0);
    else
        m_cursor.show(m_seat.pointer(), m_serial, {"left_ptr", "default"}, m_cursorScale);
    wl_display_flush(m_server.get());
}

void ScrollCover::button(bool isDown)
{
    const bool isOnPanel = hasPointer() && m_panel.contains(m_pointer);
    if (isDown ? isOnPanel : m_hasPressed)
        m_inputs.append({isDown ? Input::Kind::press : Input::Kind::release, m_pointer - m_panel.topLeft()});
    m_hasPressed = isDown && isOnPanel;
    m_isButtonDown = isDown && isInRegion();
}

// Touchpads tell distances, wheels also clicks.
void ScrollCover::turned(double distance)
{
    if (std::exchange(m_hasSteps, false))
        return;
    m_distance += distance;
    const int clicks = int(m_distance / distanceOfAClick);
    m_distance -= clicks * distanceOfAClick;
    m_clicks += clicks;
}

void ScrollCover::key(quint32 code, bool isDown)
{
    if (!isDown) {
        m_keysDown.remove(code);
        return;
    }
    const Picker::Key meaning = KeySymbols::meaning(m_keymap.symbol(code));
    if (m_areModifiersDown || (meaning != Picker::Key::enter && meaning != Picker::Key::escape))
        return;
    m_keysDown.insert(code);
    m_inputs.append({meaning == Picker::Key::enter ? Input::Kind::enter : Input::Kind::escape, {}});
}

std::optional<ScrollDesktop::Input> ScrollCover::takeInput()
{
    return m_inputs.isEmpty() ? std::nullopt : std::optional(m_inputs.takeFirst());
}

void ScrollCover::followKeyboard()
{
    const bool wanted = !m_isKeyboardLeft && (m_reach != Reach::region || hasPointer());
    if (std::exchange(m_hasKeyboard, wanted) == wanted)
        return;
    m_surfaces[size_t(m_regionOutput)]->setKeyboard(wanted);
    wl_display_flush(m_server.get());
}

void ScrollCover::keepKeyboard()
{
    if (m_hasKeyboard)
        m_surfaces[size_t(m_regionOutput)]->setKeyboard(true);
    wl_display_flush(m_server.get());
}

void ScrollCover::leaveKeyboard()
{
    m_isKeyboardLeft = true;
    followKeyboard();
    m_server.roundTrip();
}

} // namespace qm

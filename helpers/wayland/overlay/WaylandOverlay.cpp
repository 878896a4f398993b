#include "helpers/wayland/overlay/WaylandOverlay.h"

#include "helpers/overlay/KeySymbols.h"

#include <algorithm>
#include <linux/input-event-codes.h>
#include <protocol/virtual-pointer.h>
#include <wayland-client-protocol.h>

namespace qm {

using namespace std::chrono_literals;

// After the surfaces are shown, compositors tell at once where the pointer is; a touch screen alone has none.
static constexpr auto pointerLimit = 300ms, soon = 50ms;

struct WaylandOverlay::Listeners {
    static WaylandOverlay &of(void *self) { return *static_cast<WaylandOverlay *>(self); }
    static QPointF point(wl_fixed_t x, wl_fixed_t y) { return {wl_fixed_to_double(x), wl_fixed_to_double(y)}; }

    // Events of newer versions, of which each release of the protocol knows more, have no handler.
    static wl_pointer_listener pointer()
    {
        wl_pointer_listener listener = {};
        listener.enter = [](void *self, wl_pointer *, uint32_t serial, wl_surface *surface, wl_fixed_t x,
                            wl_fixed_t y) { of(self).entered(surface, serial, point(x, y)); };
        listener.leave = [](void *, wl_pointer *, uint32_t, wl_surface *) {};
        listener.motion = [](void *self, wl_pointer *, uint32_t, wl_fixed_t x, wl_fixed_t y) {
            of(self).moved(point(x, y));
        };
        listener.button = [](void *self, wl_pointer *, uint32_t serial, uint32_t, uint32_t button, uint32_t state) {
            of(self).m_inputSerial = serial;
            of(self).add({.kind = state == WL_POINTER_BUTTON_STATE_PRESSED ? Input::Kind::press : Input::Kind::release,
                          .at = of(self).m_pointer,
                          .button = button == BTN_LEFT    ? Picker::Button::left
                                    : button == BTN_RIGHT ? Picker::Button::right
                                                          : Picker::Button::other});
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
        .enter = [](void *self, wl_keyboard *, uint32_t, wl_surface *, wl_array *) { of(self).m_hasKeyboard = true; },
        .leave = [](void *self, wl_keyboard *, uint32_t, wl_surface *) { of(self).m_repeat.code = {}; },
        .key =
            [](void *self, wl_keyboard *, uint32_t serial, uint32_t, uint32_t code, uint32_t state) {
                of(self).m_inputSerial = serial;
                of(self).key(code, state == WL_KEYBOARD_KEY_STATE_PRESSED);
            },
        .modifiers = [](void *self, wl_keyboard *, uint32_t, uint32_t depressed, uint32_t latched, uint32_t locked,
                        uint32_t group) { of(self).m_keymap.setModifiers(depressed, latched, locked, group); },
        .repeat_info =
            [](void *self, wl_keyboard *, int32_t rate, int32_t delay) {
                of(self).m_repeat.interval = 1000ms / std::max(rate, 1);
                of(self).m_repeat.delay = rate > 0 ? std::chrono::milliseconds(delay) : 24h; // 0: keys do not repeat
            },
    };
};

WaylandOverlay::WaylandOverlay(WaylandCurtain &curtain, const QByteArray &trigger)
    : m_curtain(curtain)
    , m_server(curtain.server())
    , m_trigger(trigger)
    , m_screen(curtain)
    , m_picture(curtain.globals())
{
    for (size_t i = 0; i < curtain.surfaces().size(); ++i)
        m_parts.append({curtain.surfaces()[i].get(), m_screen.layout().areas()[qsizetype(i)], {}, {}});
    m_at = m_pointer = m_parts.isEmpty() ? QPoint() : m_parts.first().area.center();
    static const wl_pointer_listener pointer = Listeners::pointer();
    curtain.seat().listen(pointer, Listeners::keyboard, this);
}

// From version 1.8 or so, sway tells a new surface that the pointer lies there only once it has moved. So it moves, by nothing.
void WaylandOverlay::nudgePointer()
{
    zwlr_virtual_pointer_manager_v1 *manager =
        m_server.bind<zwlr_virtual_pointer_manager_v1>(zwlr_virtual_pointer_manager_v1_interface, 1);
    if (!manager)
        return;
    zwlr_virtual_pointer_v1 *mover =
        zwlr_virtual_pointer_manager_v1_create_virtual_pointer(manager, m_curtain.seat().handle());
    zwlr_virtual_pointer_v1_motion(mover, 0, 0, 0);
    zwlr_virtual_pointer_v1_frame(mover);
    m_server.roundTrip();
    zwlr_virtual_pointer_v1_destroy(mover);
    zwlr_virtual_pointer_manager_v1_destroy(manager);
}

OverlayDesktop::Start WaylandOverlay::start()
{
    const auto isTold = [this] { return m_output >= 0; };
    if (m_curtain.seat().pointer() && !m_server.waitFor(isTold, soon)) {
        nudgePointer();
        m_server.waitFor(isTold, pointerLimit);
    }
    m_at = m_pointer;
    return {m_at, m_keymap.isShiftDown()};
}

// Nobody can keep the pointer from what lies above everything. The keyboard may belong to a screen locker.
bool WaylandOverlay::holdInput()
{
    return m_hasKeyboard || !m_curtain.seat().keyboard();
}

std::optional<OverlayDesktop::Input> WaylandOverlay::next()
{
    if (m_inputs.isEmpty() && !m_server.dispatch(0ms))
        return Input{.kind = Input::Kind::gone};
    const bool isClosed =
        std::any_of(m_parts.cbegin(), m_parts.cend(), [](const Part &part) { return part.surface->isClosed(); });
    if (!m_saidResized && (isClosed || m_curtain.outputs().haveChanged())) {
        m_saidResized = true;
        return Input{.kind = Input::Kind::resized};
    }
    if (m_inputs.isEmpty() && m_repeat.code && m_repeat.due.hasExpired()) {
        add(keyInput(Input::Kind::keyDown, *m_repeat.code));
        m_repeat.due.setRemainingTime(m_repeat.interval);
    }
    if (m_inputs.isEmpty()) {
        present(); // what had to wait for the last frame
        return {};
    }
    Input input = m_inputs.takeFirst();
    if (input.kind <= Input::Kind::release)
        input.at = placed(input.at);
    return input;
}

// Where the user is while the pointer is at this pixel. At the desktop's edge the pointer catches up, or what lies there could
// not be reached any more.
QPoint WaylandOverlay::placed(QPoint pointer)
{
    const QRect area = m_screen.area();
    m_at = {std::clamp(pointer.x() + m_offset.x(), area.left(), area.right()),
            std::clamp(pointer.y() + m_offset.y(), area.top(), area.bottom())};
    if (m_at - pointer != m_offset) {
        m_offset = m_at - pointer;
        showPointer();
    }
    return m_at;
}

void WaylandOverlay::wait(std::optional<std::chrono::milliseconds> limit)
{
    if (!m_inputs.isEmpty())
        return;
    std::chrono::milliseconds time = limit.value_or(1h);
    if (m_repeat.code)
        time = std::min(time, std::chrono::ceil<std::chrono::milliseconds>(m_repeat.due.remainingTimeAsDuration()));
    m_server.dispatch(time);
}

void WaylandOverlay::entered(const wl_surface *surface, quint32 serial, QPointF at)
{
    const auto part = std::find_if(m_parts.cbegin(), m_parts.cend(),
                                   [surface](const Part &each) { return each.surface->handle() == surface; });
    if (part == m_parts.cend())
        return;
    m_output = int(part - m_parts.cbegin());
    m_serial = serial;
    showPointer();
    moved(at);
}

void WaylandOverlay::moved(QPointF at)
{
    if (m_output < 0)
        return;
    // GNOME may count in pixels where it places monitors, and in larger units on a surface.
    const QSizeF logical = m_curtain.outputs().all()[size_t(m_output)]->logical.size();
    const QSizeF own = m_parts[m_output].surface->size();
    m_pointer = m_screen.layout().pixelAt(
        m_output, {at.x() * logical.width() / own.width(), at.y() * logical.height() / own.height()});
    add({.kind = Input::Kind::move, .at = m_pointer});
}

void WaylandOverlay::key(quint32 code, bool isDown)
{
    if (isDown && m_keymap.repeats(code)) {
        m_repeat.code = code;
        m_repeat.due.setRemainingTime(m_repeat.delay);
    } else if (!isDown && m_repeat.code == code) {
        m_repeat.code = {};
    }
    add(keyInput(isDown ? Input::Kind::keyDown : Input::Kind::keyUp, code));
}

OverlayDesktop::Input WaylandOverlay::keyInput(Input::Kind kind, quint32 code) const
{
    const quint32 symbol = m_keymap.symbol(code);
    return {.kind = kind, .key = KeySymbols::meaning(symbol), .isTrigger = KeySymbols::isTrigger(symbol, m_trigger)};
}

void WaylandOverlay::paint(const OverlayFrame &frame, const QRegion &region)
{
    m_frame = frame;
    for (Part &part : m_parts) {
        const QRegion here = region & part.area;
        part.changed += here;
        for (QRegion &missing : part.missing)
            missing += here;
    }
}

void WaylandOverlay::present()
{
    const QImage &frozen = m_screen.pixels();
    for (Part &part : m_parts) {
        if (part.changed.isEmpty() || part.surface->awaitsFrame() || !part.surface->isConfigured())
            continue;
        ShmBuffer *buffer = part.surface->idleBuffer();
        if (!buffer)
            continue;
        if (!part.missing.contains(buffer))
            part.missing.insert(buffer, part.area);
        QRegion &missing = part.missing[buffer];
        for (const QRect &piece : std::as_const(missing)) {
            const QPoint at = piece.topLeft() - part.area.topLeft();
            uint32_t *first = buffer->pixels() + qsizetype(at.y()) * buffer->bytesPerLine() / 4 + at.x();
            QImage target(reinterpret_cast<uchar *>(first), piece.width(), piece.height(), buffer->bytesPerLine(),
                          QImage::Format_RGB32);
            qm::paint(m_frame, frozen, target, piece.topLeft());
        }
        missing = QRegion();
        const QRegion changed = part.changed.translated(-part.area.topLeft());
        part.surface->show(*buffer, {changed.begin(), size_t(changed.rectCount())});
        part.changed = QRegion();
    }
    wl_display_flush(m_server.get());
}

void WaylandOverlay::setPointer(Pointer shape, double scale)
{
    if (m_shape == std::pair(shape, scale))
        return;
    m_shape = std::pair(shape, scale);
    showPointer();
}

void WaylandOverlay::showPointer()
{
    if (m_shape && m_output >= 0)
        m_picture.set(m_curtain.seat().pointer(), m_serial, m_shape->first, m_shape->second, m_offset);
}

void WaylandOverlay::movePointer(QPoint by)
{
    // Ahead of what came after the key.
    m_offset += by;
    m_inputs.prepend({.kind = Input::Kind::move, .at = m_at - m_offset + by});
    showPointer();
}

void WaylandOverlay::flush()
{
    present();
}

void WaylandOverlay::lift()
{
    m_parts.clear();
    m_curtain.lift();
}

} // namespace qm

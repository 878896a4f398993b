#include "helpers/x11/overlay/X11Overlay.h"

#include "helpers/overlay/KeySymbols.h"
#include "helpers/overlay/OverlaySprites.h"

#include <poll.h>

namespace qm {

using namespace std::chrono_literals;

static constexpr auto releaseLimit = 3s; // a key reported down for longer is stuck

X11Overlay::X11Overlay(Curtain &curtain, const QByteArray &trigger)
    : m_server(curtain.server())
    , m_curtain(curtain)
    , m_trigger(trigger)
    , m_input(curtain.input())
    , m_render(m_server)
    , m_screen(curtain)
    , m_paint(m_server, curtain.window())
{
}

X11Overlay::~X11Overlay()
{
    if (m_input.isHeld()) // what is pressed in other programs is none of our business
        m_input.releaseWhenUp(releaseLimit);
    for (const xcb_cursor_t made : std::as_const(m_cursors))
        xcb_free_cursor(m_server.get(), made);
    xcb_flush(m_server.get());
}

OverlayDesktop::Start X11Overlay::start()
{
    xcb_connection_t *connection = m_server.get();
    const xcb_query_pointer_cookie_t askPointer = xcb_query_pointer(connection, m_server.root());
    const xcb_setup_t *setup = xcb_get_setup(connection);
    const xcb_get_keyboard_mapping_cookie_t askKeyboard =
        xcb_get_keyboard_mapping(connection, setup->min_keycode, uint8_t(setup->max_keycode - setup->min_keycode + 1));
    const Reply<xcb_query_pointer_reply_t> pointer(xcb_query_pointer_reply(connection, askPointer, nullptr));
    m_keyboard.reset(xcb_get_keyboard_mapping_reply(connection, askKeyboard, nullptr));
    return pointer ? Start{{pointer->root_x, pointer->root_y}, (pointer->mask & XCB_MOD_MASK_SHIFT) != 0} : Start{};
}

bool X11Overlay::holdInput()
{
    return m_input.isHeld() || m_input.take(XCB_CURSOR_NONE);
}

std::optional<OverlayDesktop::Input> X11Overlay::next()
{
    while (const Reply<xcb_generic_event_t> event{m_queued ? m_queued.release() : xcb_poll_for_event(m_server.get())}) {
        if (const std::optional<Input> input = translated(*event))
            return input;
    }
    return m_server.isBroken() ? std::optional(Input{.kind = Input::Kind::gone}) : std::nullopt;
}

void X11Overlay::wait(std::optional<std::chrono::milliseconds> limit)
{
    // Waiting for replies may have queued events that the descriptor no longer signals.
    m_queued.reset(xcb_poll_for_queued_event(m_server.get()));
    if (m_queued)
        return;
    pollfd events = {xcb_get_file_descriptor(m_server.get()), POLLIN, 0};
    poll(&events, 1, limit ? int(limit->count()) : -1);
}

std::optional<OverlayDesktop::Input> X11Overlay::translated(const xcb_generic_event_t &event)
{
    using Kind = Input::Kind;
    switch (event.response_type & 0x7f) {
    case XCB_MOTION_NOTIFY: {
        const auto &motion = reinterpret_cast<const xcb_motion_notify_event_t &>(event);
        return Input{.kind = Kind::move, .at = {motion.root_x, motion.root_y}};
    }
    case XCB_BUTTON_PRESS:
    case XCB_BUTTON_RELEASE: {
        const auto &button = reinterpret_cast<const xcb_button_press_event_t &>(event);
        return Input{.kind = (event.response_type & 0x7f) == XCB_BUTTON_PRESS ? Kind::press : Kind::release,
                     .at = {button.root_x, button.root_y},
                     .button = button.detail == XCB_BUTTON_INDEX_1   ? Picker::Button::left
                               : button.detail == XCB_BUTTON_INDEX_3 ? Picker::Button::right
                                                                     : Picker::Button::other};
    }
    case XCB_KEY_PRESS: {
        const auto &press = reinterpret_cast<const xcb_key_press_event_t &>(event);
        m_input.notePress(press.detail);
        return keyInput(Kind::keyDown, press);
    }
    case XCB_KEY_RELEASE: return keyInput(Kind::keyUp, reinterpret_cast<const xcb_key_release_event_t &>(event));
    case XCB_EXPOSE: {
        const auto &expose = reinterpret_cast<const xcb_expose_event_t &>(event);
        return Input{.kind = Kind::damaged, .area = {expose.x, expose.y, expose.width, expose.height}};
    }
    case XCB_CONFIGURE_NOTIFY: {
        const auto &change = reinterpret_cast<const xcb_configure_notify_event_t &>(event);
        if (change.window == m_server.root() && QSize(change.width, change.height) != m_server.area().size())
            return Input{.kind = Kind::resized};
        return {};
    }
    default: return {};
    }
}

OverlayDesktop::Input X11Overlay::keyInput(Input::Kind kind, const xcb_key_press_event_t &event) const
{
    const quint32 pressed = symbol(event);
    return {.kind = kind, .key = KeySymbols::meaning(pressed), .isTrigger = KeySymbols::isTrigger(pressed, m_trigger)};
}

// Without modifiers, of the keyboard layout in use. Where its alphabet is not Latin, of another layout that the user has:
// the letters have to be reachable.
quint32 X11Overlay::symbol(const xcb_key_press_event_t &event) const
{
    const xcb_keycode_t first = xcb_get_setup(m_server.get())->min_keycode;
    if (!m_keyboard || event.detail < first)
        return XCB_NO_SYMBOL;
    constexpr int perLayout = 2; // columns: plain and with Shift
    const int columns = m_keyboard->keysyms_per_keycode;
    const int row = (event.detail - first) * columns;
    if (row + columns > xcb_get_keyboard_mapping_keysyms_length(m_keyboard.get()))
        return XCB_NO_SYMBOL;
    const xcb_keysym_t *symbols = xcb_get_keyboard_mapping_keysyms(m_keyboard.get()) + row;
    const int inUse = (event.state >> 13 & 3) * perLayout; // the layout, as the XKB extension reports it
    quint32 found = inUse < columns ? symbols[inUse] : XCB_NO_SYMBOL;
    for (int i = 0; i < columns && !KeySymbols::isReachable(found); i += perLayout)
        found = symbols[i];
    return found;
}

void X11Overlay::paint(const OverlayFrame &frame, const QRegion &region)
{
    struct Context {
        const OverlayFrame &frame;
        const QImage &frozen;
    };
    const Context context = {frame, m_screen.fetchedPixels()};
    for (const QRect &area : region &m_server.area()) {
        m_paint.put(
            area,
            [](QImage &target, QPoint origin, const void *with) {
                const auto *what = static_cast<const Context *>(with);
                qm::paint(what->frame, what->frozen, target, origin);
            },
            &context);
    }
}

void X11Overlay::setPointer(Pointer shape, double scale)
{
    const bool cross = shape == Pointer::cross;
    xcb_cursor_t &cursor = m_cursors[QString::number(scale) + (cross ? u'x' : u'c')];
    if (!cursor) {
        const QImage picture = cross ? OverlaySprites::cross(scale) : OverlaySprites::camera(scale);
        cursor = m_render.makeCursor(picture.constBits(), quint16(picture.width()), quint16(picture.height()));
    }
    if (cursor == m_cursor)
        return;
    m_input.setCursor(cursor);
    m_cursor = cursor;
}

void X11Overlay::movePointer(QPoint by)
{
    xcb_warp_pointer(m_server.get(), XCB_WINDOW_NONE, XCB_WINDOW_NONE, 0, 0, 0, 0, int16_t(by.x()), int16_t(by.y()));
    xcb_flush(m_server.get());
}

void X11Overlay::flush()
{
    xcb_flush(m_server.get());
}

void X11Overlay::lift()
{
    m_curtain.lift();
    // If nothing is held down, other programs get the keyboard back at once, before the picture is written.
    if (!m_input.isAnythingDown())
        m_input.release();
}

} // namespace qm

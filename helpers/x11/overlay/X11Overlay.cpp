#include "helpers/x11/overlay/X11Overlay.h"

#include "helpers/overlay/OverlaySprites.h"

#include <poll.h>

namespace qm {

using namespace std::chrono_literals;

static constexpr auto releaseLimit = 3s; // a key reported down for longer is stuck

static_assert(Curtain::dimAlpha == dimAlpha, "what the server dims and what is painted lie side by side");

X11Overlay::X11Overlay(Curtain &curtain)
    : m_server(curtain.server())
    , m_curtain(curtain)
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
        const xcb_keycode_t code = reinterpret_cast<const xcb_key_press_event_t &>(event).detail;
        m_input.notePress(code);
        return Input{.kind = Kind::keyDown, .key = key(code)};
    }
    case XCB_KEY_RELEASE:
        return Input{.kind = Kind::keyUp, .key = key(reinterpret_cast<const xcb_key_release_event_t &>(event).detail)};
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

Picker::Key X11Overlay::key(xcb_keycode_t code) const
{
    const xcb_keycode_t first = xcb_get_setup(m_server.get())->min_keycode;
    if (!m_keyboard || code < first)
        return Picker::Key::other;
    // The first column, without modifiers. Values from the X protocol's keysymdef.h.
    const int index = (code - first) * m_keyboard->keysyms_per_keycode;
    if (index >= xcb_get_keyboard_mapping_keysyms_length(m_keyboard.get()))
        return Picker::Key::other;
    switch (xcb_get_keyboard_mapping_keysyms(m_keyboard.get())[index]) {
    case 0xff1b: return Picker::Key::escape;
    case 0xff0d:                            // Return
    case 0xff8d: return Picker::Key::enter; // on the keypad
    case 0x0020: return Picker::Key::space;
    case 0xffe1: // left and right Shift
    case 0xffe2: return Picker::Key::shift;
    case 0xff51: return Picker::Key::left;
    case 0xff52: return Picker::Key::up;
    case 0xff53: return Picker::Key::right;
    case 0xff54: return Picker::Key::down;
    default: return Picker::Key::other;
    }
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

#include "helpers/x11/InputGrab.h"

#include <poll.h>

namespace qm {

namespace {

using namespace std::chrono_literals;

constexpr uint16_t pointerEvents =
    XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_POINTER_MOTION;
constexpr uint16_t anyButton = XCB_BUTTON_MASK_1 | XCB_BUTTON_MASK_2 | XCB_BUTTON_MASK_3;

} // namespace

InputGrab::InputGrab(XConnection &server)
    : m_server(server)
{
}

InputGrab::~InputGrab()
{
    release();
}

bool InputGrab::take(xcb_cursor_t cursor)
{
    xcb_connection_t *connection = m_server.get();
    xcb_grab_pointer_cookie_t pointer = {};
    xcb_grab_keyboard_cookie_t keyboard = {};
    if (!m_pointer) {
        pointer = xcb_grab_pointer(connection, 0, m_server.root(), pointerEvents, XCB_GRAB_MODE_ASYNC,
                                   XCB_GRAB_MODE_ASYNC, XCB_WINDOW_NONE, cursor, XCB_CURRENT_TIME);
    }
    if (!m_keyboard) {
        keyboard = xcb_grab_keyboard(connection, 0, m_server.root(), XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC,
                                     XCB_GRAB_MODE_ASYNC);
    }
    if (!m_pointer) {
        const Reply<xcb_grab_pointer_reply_t> answer(xcb_grab_pointer_reply(connection, pointer, nullptr));
        m_pointer = answer && answer->status == XCB_GRAB_STATUS_SUCCESS;
    }
    if (!m_keyboard) {
        const Reply<xcb_grab_keyboard_reply_t> answer(xcb_grab_keyboard_reply(connection, keyboard, nullptr));
        m_keyboard = answer && answer->status == XCB_GRAB_STATUS_SUCCESS;
    }
    // Half of it would keep the keyboard from the very program in which the user is drawing.
    if (!isHeld())
        release();
    return isHeld();
}

void InputGrab::setCursor(xcb_cursor_t cursor)
{
    if (m_pointer)
        xcb_change_active_pointer_grab(m_server.get(), cursor, XCB_CURRENT_TIME, pointerEvents);
}

void InputGrab::notePress(xcb_keycode_t key)
{
    m_pressed[key] = true;
}

void InputGrab::releaseWhenUp(std::chrono::milliseconds limit)
{
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!m_server.isBroken() && isAnythingDown() && std::chrono::steady_clock::now() < deadline) {
        pollfd wait = {xcb_get_file_descriptor(m_server.get()), POLLIN, 0};
        poll(&wait, 1, 20);
        while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(m_server.get())}) {
        }
    }
    release();
}

bool InputGrab::isAnythingDown() const
{
    const xcb_query_pointer_cookie_t askPointer = xcb_query_pointer(m_server.get(), m_server.root());
    const xcb_query_keymap_cookie_t askKeys = xcb_query_keymap(m_server.get());
    const Reply<xcb_query_pointer_reply_t> pointer(xcb_query_pointer_reply(m_server.get(), askPointer, nullptr));
    const Reply<xcb_query_keymap_reply_t> keys(xcb_query_keymap_reply(m_server.get(), askKeys, nullptr));
    if (pointer && (pointer->mask & anyButton))
        return true;
    for (size_t key = 0; keys && key < m_pressed.size(); ++key) {
        if (m_pressed[key] && keys->keys[key / 8] & (1 << key % 8))
            return true;
    }
    return false;
}

bool InputGrab::isKeyDown(xcb_keycode_t key) const
{
    const Reply<xcb_query_keymap_reply_t> keys(
        xcb_query_keymap_reply(m_server.get(), xcb_query_keymap(m_server.get()), nullptr));
    return keys && keys->keys[key / 8] & (1 << key % 8);
}

void InputGrab::release()
{
    if (m_pointer)
        xcb_ungrab_pointer(m_server.get(), XCB_CURRENT_TIME);
    if (m_keyboard)
        xcb_ungrab_keyboard(m_server.get(), XCB_CURRENT_TIME);
    xcb_flush(m_server.get());
    m_pointer = m_keyboard = false;
}

} // namespace qm

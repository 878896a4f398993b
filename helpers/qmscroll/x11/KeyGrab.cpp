#include "helpers/qmscroll/x11/KeyGrab.h"

#include <algorithm>

namespace qm {

namespace {

// Values from the X protocol's keysymdef.h.
KeyGrab::Key meaning(xcb_keysym_t symbol)
{
    switch (symbol) {
    case 0xff0d:                             // Return
    case 0xff8d: return KeyGrab::Key::enter; // on the keypad
    case 0xff1b: return KeyGrab::Key::escape;
    default: return KeyGrab::Key::other;
    }
}

constexpr xcb_keysym_t numLock = 0xff7f;

} // namespace

KeyGrab::KeyGrab(XConnection &server)
    : m_server(server)
{
    xcb_connection_t *connection = server.get();
    const xcb_setup_t *setup = xcb_get_setup(connection);
    const auto askKeys =
        xcb_get_keyboard_mapping(connection, setup->min_keycode, uint8_t(setup->max_keycode - setup->min_keycode + 1));
    const auto askModifiers = xcb_get_modifier_mapping(connection);
    const Reply<xcb_get_keyboard_mapping_reply_t> keys(xcb_get_keyboard_mapping_reply(connection, askKeys, nullptr));
    const Reply<xcb_get_modifier_mapping_reply_t> modifiers(
        xcb_get_modifier_mapping_reply(connection, askModifiers, nullptr));
    uint16_t numLockMask = 0;
    if (keys && keys->keysyms_per_keycode) {
        const xcb_keysym_t *symbols = xcb_get_keyboard_mapping_keysyms(keys.get());
        const int count = xcb_get_keyboard_mapping_keysyms_length(keys.get()) / keys->keysyms_per_keycode;
        for (int i = 0; i < count; ++i) {
            const auto code = xcb_keycode_t(setup->min_keycode + i);
            const xcb_keysym_t symbol = symbols[i * keys->keysyms_per_keycode]; // first column: without modifiers
            if (const Key key = meaning(symbol); key != Key::other)
                m_codes.append({code, key});
            if (symbol != numLock || !modifiers)
                continue;
            const xcb_keycode_t *codes = xcb_get_modifier_mapping_keycodes(modifiers.get());
            const int length = xcb_get_modifier_mapping_keycodes_length(modifiers.get());
            for (int j = 0; j < length; ++j) {
                if (codes[j] == code)
                    numLockMask |= uint16_t(1 << j / modifiers->keycodes_per_modifier);
            }
        }
    }
    m_modifiers = {0, XCB_MOD_MASK_LOCK};
    if (numLockMask)
        m_modifiers << numLockMask << (numLockMask | XCB_MOD_MASK_LOCK);
}

KeyGrab::~KeyGrab()
{
    release();
}

void KeyGrab::take()
{
    for (const Code &code : std::as_const(m_codes)) {
        for (const uint16_t modifiers : std::as_const(m_modifiers)) {
            xcb_grab_key(m_server.get(), 0, m_server.root(), modifiers, code.code, XCB_GRAB_MODE_ASYNC,
                         XCB_GRAB_MODE_ASYNC);
        }
    }
    xcb_flush(m_server.get());
    m_taken = true;
}

KeyGrab::Key KeyGrab::key(xcb_keycode_t code) const
{
    const auto found =
        std::find_if(m_codes.cbegin(), m_codes.cend(), [code](const Code &known) { return known.code == code; });
    return found == m_codes.cend() ? Key::other : found->key;
}

void KeyGrab::release()
{
    if (!std::exchange(m_taken, false))
        return;
    for (const Code &code : std::as_const(m_codes)) {
        for (const uint16_t modifiers : std::as_const(m_modifiers))
            xcb_ungrab_key(m_server.get(), code.code, m_server.root(), modifiers);
    }
    xcb_flush(m_server.get());
}

} // namespace qm

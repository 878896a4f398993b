#pragma once

#include "helpers/x11/XConnection.h"

#include <array>
#include <chrono>

namespace qm {

// Keyboard and pointer, taken from all other programs while something is chosen. They are grabbed on the root, so that
// they stay ours until the keys and buttons that ended the choice are up again: the window below must not get half a
// click. The server lets go by itself when the process ends.
class InputGrab
{
public:
    explicit InputGrab(XConnection &server);
    ~InputGrab();
    Q_DISABLE_COPY_MOVE(InputGrab)

    // One try; true when both are held. Another program's grab (an open menu) makes it fail, and it may be tried again.
    bool take(xcb_cursor_t cursor);
    bool isHeld() const { return m_pointer && m_keyboard; }
    void setCursor(xcb_cursor_t cursor);

    // To be told of what was pressed while the grab was held; releases need not be told.
    void notePress(xcb_keycode_t key);
    // Lets go once those keys and all buttons are up, at the latest after the limit. At once when nothing is held.
    void releaseWhenUp(std::chrono::milliseconds limit);
    bool isAnythingDown() const;
    bool isKeyDown(xcb_keycode_t key) const; // as the server knows it now
    void release();

private:
    XConnection &m_server;
    bool m_pointer = false;
    bool m_keyboard = false;
    std::array<bool, 256> m_pressed = {}; // by key code
};

} // namespace qm

#pragma once

#include "helpers/x11/XConnection.h"

#include <array>
#include <chrono>

namespace qm {

// Grabs keyboard and pointer from all other programs while the user chooses. They are grabbed on the root and kept
// until the keys and buttons that ended the choice are up again: the window below must not get half a click. The server
// releases the grabs by itself when the process ends.
class InputGrab
{
public:
    explicit InputGrab(XConnection &server);
    ~InputGrab();
    Q_DISABLE_COPY_MOVE(InputGrab)

    // One attempt; true if both are held, otherwise neither is. Fails while another program (such as an open menu) has a
    // grab; may be retried.
    bool take(xcb_cursor_t cursor);
    bool isHeld() const { return m_pointer && m_keyboard; }
    void setCursor(xcb_cursor_t cursor);

    // Call for each key pressed while the grab is held; releases need not be reported.
    void notePress(xcb_keycode_t key);
    // Releases once those keys and all buttons are up, at the latest after the limit; at once if nothing is held down.
    void releaseWhenUp(std::chrono::milliseconds limit);
    bool isAnythingDown() const;
    bool isKeyDown(xcb_keycode_t key) const; // according to the server
    void release();

private:
    XConnection &m_server;
    bool m_pointer = false;
    bool m_keyboard = false;
    std::array<bool, 256> m_pressed = {}; // by keycode
};

} // namespace qm

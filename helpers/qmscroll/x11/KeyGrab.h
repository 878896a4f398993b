#pragma once

#include "helpers/x11/XConnection.h"

#include <QList>

namespace qm {

// Grabs just Return and Escape from whichever program has the keyboard; the user may go on typing. Only without Shift,
// Control and the like; Caps Lock and Num Lock don't matter. The server releases them when the process ends.
class KeyGrab
{
public:
    enum class Key { other, enter, escape };

    explicit KeyGrab(XConnection &server);
    ~KeyGrab();
    Q_DISABLE_COPY_MOVE(KeyGrab)

    // Keys already grabbed by another program stay with it.
    void take();
    Key key(xcb_keycode_t code) const;
    void release();

private:
    struct Code {
        xcb_keycode_t code;
        Key key;
    };
    XConnection &m_server;
    QList<Code> m_codes;
    QList<uint16_t> m_modifiers; // combinations to grab the keys with
    bool m_taken = false;
};

} // namespace qm

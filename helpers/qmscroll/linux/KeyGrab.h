#pragma once

#include "helpers/x11/XConnection.h"

#include <QList>

namespace qm {

// Return and Escape, taken from whatever program has the keyboard, and nothing else: the user may go on typing. Only
// without Shift, Control and the like; Caps Lock and Num Lock don't matter. The server lets go when the process ends.
class KeyGrab
{
public:
    enum class Key { other, enter, escape };

    explicit KeyGrab(XConnection &server);
    ~KeyGrab();
    Q_DISABLE_COPY_MOVE(KeyGrab)

    // Where another program has taken one of the keys for itself, it stays that program's.
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
    QList<uint16_t> m_modifiers; // that the keys are taken with
    bool m_taken = false;
};

} // namespace qm

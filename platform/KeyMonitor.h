#pragma once

#include <QString>

#include <functional>
#include <memory>

namespace qm {

// A keyboard event, in the product's own numbers on every system: virtual key codes (60 is the right Shift key) and
// device-independent flag masks (0x20000 is Shift), both as on macOS.
struct KeyEvent {
    enum class Type {
        keyDown,      // a non-modifier key; the code need not be meaningful
        flagsChanged, // a modifier key went down or up; flags are the state afterwards
        disabled,     // the system has disabled the listener; enable() re-enables it
    };
    Type type = Type::keyDown;
    int keyCode = 0;
    quint32 flags = 0;
    bool othersDown = false; // flagsChanged: another modifier key or a pointer button was down already; not on macOS
};

// Listens to every key of the session, whichever application has the focus. Never swallows or alters one. Main thread.
class KeyMonitor
{
public:
    enum class Started {
        yes,
        notYet, // try again in a second: the user may still grant access
        never,  // not on this system
    };

    virtual ~KeyMonitor() = default;
    virtual Started start(std::function<void(const KeyEvent &)> handle) = 0;
    virtual void enable() = 0;                      // after Type::disabled
    virtual QString keyName(int keyCode) const = 0; // label of the key on this keyboard; empty if it has none
};

std::unique_ptr<KeyMonitor> makeKeyMonitor(); // null if this system has none

} // namespace qm

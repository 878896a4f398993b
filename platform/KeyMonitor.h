#pragma once

#include <QString>
#include <QtGlobal>

#include <chrono>
#include <functional>
#include <memory>

namespace qm {

// A keyboard event, in the product's own numbers on every system: virtual key codes (60 is the right Shift key) and
// device-independent flag masks (0x20000 is Shift), both as on macOS.
struct KeyEvent {
    enum class Type {
        keyDown,      // a non-modifier key; the code need not be meaningful
        flagsChanged, // a modifier key went down or up; flags are the state afterwards
        usedAlone,    // a modifier key went down and up, and nothing happened between; told only now
        disabled,     // the system has disabled the listener; enable() re-enables it
    };
    Type type = Type::keyDown;
    int keyCode = 0;
    quint32 flags = 0;
    bool othersDown = false; // flagsChanged: another modifier key or a pointer button was down already; not on macOS
    std::chrono::milliseconds held{}; // usedAlone: how long the key was down
};

// How the trigger key reaches us.
enum class KeyRoad {
    none,
    displayServer, // it tells us of every key
    inputDevices,  // a program of ours reads them, which the administrator has given the right
    compositor,    // it tells of the trigger alone: a hold is known only at its release, and a click goes unnoticed
    portal,        // shortcuts that the user chose in the desktop's dialog stand for the gestures
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
    virtual void enable() = 0;                                 // after Type::disabled
    virtual void setTrigger(int keyCode) { Q_UNUSED(keyCode) } // other modifier keys may go unheard
    // What the desktop shows of shortcuts that stand for a tap and a hold. Before start().
    virtual void setShortcutNames(const QString &tap, const QString &hold)
    {
        Q_UNUSED(tap)
        Q_UNUSED(hold)
    }
    virtual KeyRoad road() const { return KeyRoad::displayServer; } // once started; may change at any time
    virtual QString keyName(int keyCode) const = 0; // label of the key on this keyboard; empty if it has none
};

std::unique_ptr<KeyMonitor> makeKeyMonitor(); // null if this system has none

} // namespace qm

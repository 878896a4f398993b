#pragma once

#include <QString>

#include <functional>
#include <memory>

namespace qm {

// One event of the keyboard, in the product's own numbers on every system: virtual key codes (60 is the right Shift key)
// and device-independent flag masks (0x20000 is Shift), both as macOS has them.
struct KeyEvent {
    enum class Type {
        keyDown,      // a key that is no modifier; the code need not mean anything
        flagsChanged, // a modifier key went down or up; flags are those after it
        disabled,     // the system has switched the listener off; enable() switches it on again
    };
    Type type = Type::keyDown;
    int keyCode = 0;
    quint32 flags = 0;
};

// Listens to every key of the session, whichever application has it. Never swallows or alters one. Main thread.
class KeyMonitor
{
public:
    enum class Started {
        yes,
        notYet, // ask again in a second: the user may still grant it
        never,  // not on this system
    };

    virtual ~KeyMonitor() = default;
    virtual Started start(std::function<void(const KeyEvent &)> handle) = 0;
    virtual void enable() = 0;                      // after Type::disabled
    virtual QString keyName(int keyCode) const = 0; // what this keyboard calls the key; empty when it has none
};

std::unique_ptr<KeyMonitor> makeKeyMonitor(); // null: none on this system

} // namespace qm

#pragma once

#include <Carbon/Carbon.h>

#include <functional>
#include <vector>

namespace qm {

// Keys without modifiers, grabbed from whichever program has the keyboard as Carbon hot keys, which need no permission.
// Main thread; the callback comes from its event loop. Keys already taken by another program stay with it. Destroying
// the object releases the keys.
class HotKeys
{
public:
    enum class Key { enter, escape };

    explicit HotKeys(std::function<void(Key)> pressed);
    ~HotKeys();
    HotKeys(const HotKeys &) = delete;
    HotKeys &operator=(const HotKeys &) = delete;

    static bool areUp(); // true if none of them is held down

private:
    static OSStatus received(EventHandlerCallRef next, EventRef event, void *keys);

    std::function<void(Key)> m_pressed;
    EventHandlerRef m_handler = nullptr;
    std::vector<EventHotKeyRef> m_taken;
};

} // namespace qm

#pragma once

#include <Carbon/Carbon.h>

#include <functional>
#include <vector>

namespace qm {

// Keys without a modifier, taken from whatever program has the keyboard, as Carbon's hot keys: no permission is needed for
// them. Main thread, told from its event loop. What another program has taken stays that program's. The keys are
// everybody's again with the object's end.
class HotKeys
{
public:
    enum class Key { enter, escape };

    explicit HotKeys(std::function<void(Key)> pressed);
    ~HotKeys();
    HotKeys(const HotKeys &) = delete;
    HotKeys &operator=(const HotKeys &) = delete;

    static bool areUp(); // none of them is held down

private:
    static OSStatus received(EventHandlerCallRef next, EventRef event, void *keys);

    std::function<void(Key)> m_pressed;
    EventHandlerRef m_handler = nullptr;
    std::vector<EventHotKeyRef> m_taken;
};

} // namespace qm

#include "helpers/qmscroll/macos/HotKeys.h"

#include <algorithm>
#include <iterator>

namespace qm {

namespace {

constexpr OSType signature = 'Qmsc';

struct HotKey {
    UInt32 keyCode;
    HotKeys::Key key;
};
constexpr HotKey hotKeys[] = {
    {kVK_Return, HotKeys::Key::enter},
    {kVK_ANSI_KeypadEnter, HotKeys::Key::enter},
    {kVK_Escape, HotKeys::Key::escape},
};

} // namespace

HotKeys::HotKeys(std::function<void(Key)> pressed)
    : m_pressed(std::move(pressed))
{
    const EventTypeSpec presses = {kEventClassKeyboard, kEventHotKeyPressed};
    InstallEventHandler(GetApplicationEventTarget(), NewEventHandlerUPP(&HotKeys::received), 1, &presses, this,
                        &m_handler);
    for (const HotKey &hotKey : hotKeys) {
        EventHotKeyRef taken = nullptr;
        const EventHotKeyID id = {signature, hotKey.keyCode};
        if (RegisterEventHotKey(hotKey.keyCode, 0, id, GetApplicationEventTarget(), 0, &taken) == noErr)
            m_taken.push_back(taken);
    }
}

HotKeys::~HotKeys()
{
    for (const EventHotKeyRef key : m_taken)
        UnregisterEventHotKey(key);
    if (m_handler)
        RemoveEventHandler(m_handler);
}

OSStatus HotKeys::received(EventHandlerCallRef, EventRef event, void *keys)
{
    EventHotKeyID id = {};
    if (GetEventParameter(event, kEventParamDirectObject, typeEventHotKeyID, nullptr, sizeof id, nullptr, &id) != noErr)
        return eventNotHandledErr;
    const auto found =
        std::find_if(std::begin(hotKeys), std::end(hotKeys), [&](const HotKey &key) { return key.keyCode == id.id; });
    if (id.signature != signature || found == std::end(hotKeys))
        return eventNotHandledErr;
    static_cast<HotKeys *>(keys)->m_pressed(found->key);
    return noErr;
}

bool HotKeys::areUp()
{
    return std::none_of(std::begin(hotKeys), std::end(hotKeys), [](const HotKey &key) {
        return CGEventSourceKeyState(kCGEventSourceStateCombinedSessionState, CGKeyCode(key.keyCode));
    });
}

} // namespace qm

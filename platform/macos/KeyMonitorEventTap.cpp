#include "platform/KeyMonitor.h"

#include <ApplicationServices/ApplicationServices.h>

namespace qm {

namespace {

// A listen-only event tap of Quartz event services. Its run-loop source is on the main run loop, which is Qt's too.
class KeyMonitorEventTap : public KeyMonitor
{
public:
    ~KeyMonitorEventTap() override;

    Started start(std::function<void(const KeyEvent &)> handle) override;
    void enable() override { CGEventTapEnable(m_tap, true); }
    QString keyName(int keyCode) const override;

private:
    static CGEventRef received(CGEventTapProxy proxy, CGEventType type, CGEventRef event, void *monitor);
    void handle(CGEventType type, CGEventRef event) const;

    std::function<void(const KeyEvent &)> m_handle;
    CFMachPortRef m_tap = nullptr;
    CFRunLoopSourceRef m_source = nullptr;
};

KeyMonitorEventTap::~KeyMonitorEventTap()
{
    if (!m_tap)
        return;
    CFRunLoopRemoveSource(CFRunLoopGetMain(), m_source, kCFRunLoopCommonModes);
    CFMachPortInvalidate(m_tap);
    CFRelease(m_source);
    CFRelease(m_tap);
}

KeyMonitor::Started KeyMonitorEventTap::start(std::function<void(const KeyEvent &)> handle)
{
    constexpr CGEventMask keys = CGEventMaskBit(kCGEventKeyDown) | CGEventMaskBit(kCGEventFlagsChanged);
    m_tap = CGEventTapCreate(kCGSessionEventTap, kCGHeadInsertEventTap, kCGEventTapOptionListenOnly, keys,
                             &KeyMonitorEventTap::received, this);
    if (!m_tap)
        return Started::notYet; // the user has not granted permission yet
    m_handle = std::move(handle);
    m_source = CFMachPortCreateRunLoopSource(kCFAllocatorDefault, m_tap, 0);
    CFRunLoopAddSource(CFRunLoopGetMain(), m_source, kCFRunLoopCommonModes);
    enable();
    return Started::yes;
}

CGEventRef KeyMonitorEventTap::received(CGEventTapProxy, CGEventType type, CGEventRef event, void *monitor)
{
    static_cast<const KeyMonitorEventTap *>(monitor)->handle(type, event);
    return event;
}

void KeyMonitorEventTap::handle(CGEventType type, CGEventRef event) const
{
    const auto tell = [&](KeyEvent::Type what) {
        m_handle(
            {what, int(CGEventGetIntegerValueField(event, kCGKeyboardEventKeycode)), quint32(CGEventGetFlags(event))});
    };
    switch (type) {
    case kCGEventKeyDown: return tell(KeyEvent::Type::keyDown);
    case kCGEventFlagsChanged: return tell(KeyEvent::Type::flagsChanged);
    case kCGEventTapDisabledByTimeout:
    case kCGEventTapDisabledByUserInput: return m_handle({.type = KeyEvent::Type::disabled}); // there is no key event
    default: return;
    }
}

// The same on every Mac keyboard.
QString KeyMonitorEventTap::keyName(int keyCode) const
{
    switch (keyCode) {
    case 54:
    case 55: return QStringLiteral("Command");
    case 56:
    case 60: return QStringLiteral("Shift");
    case 58:
    case 61: return QStringLiteral("Option");
    case 59:
    case 62: return QStringLiteral("Control");
    default: return {};
    }
}

} // namespace

std::unique_ptr<KeyMonitor> makeKeyMonitor()
{
    return std::make_unique<KeyMonitorEventTap>();
}

} // namespace qm

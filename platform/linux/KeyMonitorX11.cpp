#include "platform/linux/KeyMonitorX11.h"

#include "platform/linux/ModifierKeys.h"
#include "platform/x11/X11Server.h"

#include <QSocketNotifier>

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <vector>

// The header has a field named "explicit".
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit
#include <xcb/xinput.h>
#include <xkbcommon/xkbcommon-x11.h>

namespace qm {

namespace {

template<class T>
Reply<T> owned(T *reply)
{
    return Reply<T>(reply);
}

// Raw key events of XInput 2 on a connection of our own. Raw events arrive even while the keyboard is grabbed (XI 2.1
// on), and selecting them takes nothing away from other clients.
//
// The flags are tracked from the events: the server's answer would describe a later moment, and its modifier state for
// the right Alt key depends on the layout.
class KeyMonitorX11 : public KeyMonitor
{
public:
    ~KeyMonitorX11() override;

    Started start(std::function<void(const KeyEvent &)> handle) override;
    void enable() override {} // X11 never disables a listener
    QString keyName(int keyCode) const override;

private:
    bool connectToServer();
    bool hasExtensions();
    void selectEvents();
    void readKeymap();
    void readPressedKeys();

    void readEvents();
    bool readQueuedEvents();
    void handleInputEvent(const xcb_ge_generic_event_t &event);
    void keyChanged(uint32_t xKeyCode, bool pressed);
    quint32 flags() const;
    bool areOthersDown(uint32_t xKeyCode) const;
    std::optional<ModifierKey> modifierFor(uint32_t xKeyCode) const;

    std::function<void(const KeyEvent &)> m_handle;
    X11Server m_server;
    xcb_connection_t *m_connection = nullptr; // owned by m_server
    uint8_t m_inputOpcode = 0;
    uint8_t m_keyboardEvent = 0;
    xkb_context *m_context = nullptr;
    xkb_keymap *m_keymap = nullptr;
    std::array<xkb_keycode_t, modifierKeys.size()> m_xKeyCodes{}; // for modifierKeys; 0: the keyboard has no such key
    std::set<uint32_t> m_pressed;                                 // X keycodes of the modifier keys that are down
    std::set<uint32_t> m_buttons;                                 // of the pointer, that are down
    std::unique_ptr<QSocketNotifier> m_notifier;
};

KeyMonitorX11::~KeyMonitorX11()
{
    m_notifier.reset();
    xkb_keymap_unref(m_keymap);
    xkb_context_unref(m_context);
}

KeyMonitor::Started KeyMonitorX11::start(std::function<void(const KeyEvent &)> handle)
{
    if (!connectToServer())
        return Started::notYet;
    if (!hasExtensions())
        return Started::never;
    m_handle = std::move(handle);
    selectEvents();
    readKeymap();
    readPressedKeys();
    m_notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(m_connection), QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(), [this] { readEvents(); });
    readEvents(); // replies may have queued events that the socket will not signal
    return Started::yes;
}

bool KeyMonitorX11::connectToServer()
{
    m_server = X11Server::connect();
    m_connection = m_server.connection.get();
    return m_connection != nullptr;
}

bool KeyMonitorX11::hasExtensions()
{
    const xcb_query_extension_reply_t *input = xcb_get_extension_data(m_connection, &xcb_input_id);
    if (!input || !input->present)
        return false;
    m_inputOpcode = input->major_opcode;
    const auto version =
        owned(xcb_input_xi_query_version_reply(m_connection, xcb_input_xi_query_version(m_connection, 2, 2), nullptr));
    return version && (version->major_version > 2 || version->minor_version >= 2) &&
           xkb_x11_setup_xkb_extension(m_connection, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                                       XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, &m_keyboardEvent,
                                       nullptr);
}

void KeyMonitorX11::selectEvents()
{
    struct Mask {
        xcb_input_event_mask_t head;
        uint32_t events;
    };
    constexpr uint32_t raw = XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE |
                             XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE;
    const Mask masks[] = {{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, raw},
                          {{XCB_INPUT_DEVICE_ALL, 1}, XCB_INPUT_XI_EVENT_MASK_HIERARCHY}};
    for (const Mask &mask : masks)
        xcb_input_xi_select_events(m_connection, m_server.screen->root, 1, &mask.head);

    constexpr uint16_t map = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    constexpr uint16_t allParts = 0xff;
    xcb_xkb_select_events(m_connection, XCB_XKB_ID_USE_CORE_KBD, map, 0, map, allParts, allParts, nullptr);
    xcb_flush(m_connection);
}

void KeyMonitorX11::readKeymap()
{
    if (!m_context)
        m_context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    const int32_t device = xkb_x11_get_core_keyboard_device_id(m_connection);
    xkb_keymap *keymap = xkb_x11_keymap_new_from_device(m_context, m_connection, device, XKB_KEYMAP_COMPILE_NO_FLAGS);
    if (!keymap)
        return; // the map is still being built; a notification will follow
    xkb_keymap_unref(m_keymap);
    m_keymap = keymap;
    for (size_t i = 0; i < modifierKeys.size(); ++i) {
        const xkb_keycode_t code = xkb_keymap_key_by_name(m_keymap, modifierKeys[i].xkbName);
        m_xKeyCodes[i] = code == XKB_KEYCODE_INVALID ? 0 : code;
    }
}

// At start, and after a change of devices or of the terminal, when releases may have been missed.
void KeyMonitorX11::readPressedKeys()
{
    const auto askPointer = xcb_query_pointer(m_connection, m_server.screen->root);
    const auto state = owned(xcb_query_keymap_reply(m_connection, xcb_query_keymap(m_connection), nullptr));
    if (!state) {
        xcb_discard_reply(m_connection, askPointer.sequence);
        return;
    }
    m_buttons.clear();
    const auto pointer = owned(xcb_query_pointer_reply(m_connection, askPointer, nullptr));
    for (uint32_t button = 1; pointer && button <= 3; ++button) {
        if (pointer->mask & (XCB_BUTTON_MASK_1 << (button - 1)))
            m_buttons.insert(button);
    }
    m_pressed.clear();
    for (const xkb_keycode_t code : m_xKeyCodes) {
        if (code != 0 && code < 256 && state->keys[code / 8] & (1 << code % 8))
            m_pressed.insert(code);
    }
}

void KeyMonitorX11::readEvents()
{
    // Waiting for a reply may queue events, even a release, which the socket then does not signal.
    while (readQueuedEvents()) {
    }
    if (xcb_connection_has_error(m_connection))
        m_notifier->setEnabled(false); // the server is gone; the application learns it from its own connection
}

// True if it queried the server meanwhile.
bool KeyMonitorX11::readQueuedEvents()
{
    bool devicesChanged = false, keymapChanged = false;
    while (const auto event = owned(xcb_poll_for_event(m_connection))) {
        const uint8_t type = event->response_type & 0x7f;
        if (type == XCB_GE_GENERIC) {
            const auto &generic = reinterpret_cast<const xcb_ge_generic_event_t &>(*event);
            if (generic.extension == m_inputOpcode && generic.event_type == XCB_INPUT_HIERARCHY)
                devicesChanged = true;
            else if (generic.extension == m_inputOpcode)
                handleInputEvent(generic);
        } else if (type == m_keyboardEvent) {
            keymapChanged = true;
        }
    }
    // After the loop: a new keyboard sends many notifications, and reading a map waits for the server.
    if (keymapChanged)
        readKeymap();
    if (keymapChanged || devicesChanged)
        readPressedKeys();
    return keymapChanged || devicesChanged;
}

void KeyMonitorX11::handleInputEvent(const xcb_ge_generic_event_t &event)
{
    switch (event.event_type) {
    case XCB_INPUT_RAW_KEY_PRESS:
    case XCB_INPUT_RAW_KEY_RELEASE:
        keyChanged(reinterpret_cast<const xcb_input_raw_key_press_event_t &>(event).detail,
                   event.event_type == XCB_INPUT_RAW_KEY_PRESS);
        break;
    case XCB_INPUT_RAW_BUTTON_RELEASE:
        m_buttons.erase(reinterpret_cast<const xcb_input_raw_button_press_event_t &>(event).detail);
        break;
    case XCB_INPUT_RAW_BUTTON_PRESS:
        m_buttons.insert(reinterpret_cast<const xcb_input_raw_button_press_event_t &>(event).detail);
        // Shift+click uses Shift as a modifier, as does Shift with the wheel.
        m_handle({KeyEvent::Type::keyDown, noModifier, flags()});
        break;
    }
}

void KeyMonitorX11::keyChanged(uint32_t xKeyCode, bool pressed)
{
    const std::optional<ModifierKey> modifier = modifierFor(xKeyCode);
    if (!modifier) {
        if (pressed)
            m_handle({KeyEvent::Type::keyDown, noModifier, flags()});
        return;
    }
    if (pressed)
        m_pressed.insert(xKeyCode);
    else
        m_pressed.erase(xKeyCode);
    m_handle({KeyEvent::Type::flagsChanged, modifier->keyCode, flags(), areOthersDown(xKeyCode)});
}

bool KeyMonitorX11::areOthersDown(uint32_t xKeyCode) const
{
    return !m_buttons.empty() || m_pressed.size() > m_pressed.count(xKeyCode);
}

std::optional<ModifierKey> KeyMonitorX11::modifierFor(uint32_t xKeyCode) const
{
    const auto found = std::find(m_xKeyCodes.begin(), m_xKeyCodes.end(), xKeyCode);
    if (found == m_xKeyCodes.end() || xKeyCode == 0)
        return std::nullopt;
    return modifierKeys[size_t(found - m_xKeyCodes.begin())];
}

quint32 KeyMonitorX11::flags() const
{
    quint32 mask = 0;
    for (const uint32_t xKeyCode : m_pressed) {
        if (const std::optional<ModifierKey> modifier = modifierFor(xKeyCode))
            mask |= modifier->flag;
    }
    return mask;
}

QString KeyMonitorX11::keyName(int keyCode) const
{
    const auto key = std::find_if(modifierKeys.begin(), modifierKeys.end(),
                                  [&](const ModifierKey &candidate) { return candidate.keyCode == keyCode; });
    if (key == modifierKeys.end() || !m_keymap || m_xKeyCodes[size_t(key - modifierKeys.begin())] == 0)
        return {};
    const xkb_keysym_t *symbols = nullptr;
    const int count =
        xkb_keymap_key_get_syms_by_level(m_keymap, m_xKeyCodes[size_t(key - modifierKeys.begin())], 0, 0, &symbols);
    switch (count > 0 ? symbols[0] : XKB_KEY_NoSymbol) {
    case XKB_KEY_Shift_L:
    case XKB_KEY_Shift_R: return QStringLiteral("Shift");
    case XKB_KEY_Control_L:
    case XKB_KEY_Control_R: return QStringLiteral("Ctrl");
    case XKB_KEY_ISO_Level3_Shift: return QStringLiteral("AltGr");
    case XKB_KEY_Alt_L:
    case XKB_KEY_Alt_R:
    case XKB_KEY_Meta_L:
    case XKB_KEY_Meta_R: return QStringLiteral("Alt");
    case XKB_KEY_Super_L:
    case XKB_KEY_Super_R: return QStringLiteral("Super");
    default: break;
    }
    char name[64];
    return count > 0 && xkb_keysym_get_name(symbols[0], name, sizeof name) > 0 ? QString::fromLatin1(name) : QString();
}

} // namespace

std::unique_ptr<KeyMonitor> makeKeyMonitorX11()
{
    return std::make_unique<KeyMonitorX11>();
}

} // namespace qm

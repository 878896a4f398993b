#include "helpers/grab/Overlay.h"

#include "app/base/AppLocale.h"
#include "helpers/grab/OverlaySprites.h"

#include <QDeadlineTimer>

#include <cmath>
#include <poll.h>

namespace qm {

namespace {

using namespace std::chrono_literals;

constexpr auto grabRetry = 25ms;
constexpr auto grabLimit = 1s;
constexpr auto hintDelay = 1500ms; // who knows what to do has begun by then
constexpr auto releaseLimit = 3s;  // a key reported down for longer is stuck

constexpr QRgb white = 0xffffffff;
constexpr QRgb shade = 0x80000000;
constexpr QRgb accent = 0xff0a84ff;

int pixels(double points, double scale)
{
    return std::max(1, int(std::lround(points * scale)));
}

} // namespace

Overlay::Overlay(Curtain &curtain, const Options &options)
    : m_server(curtain.server())
    , m_options(options)
    , m_render(m_server)
    , m_curtain(curtain)
    , m_input(curtain.input())
    , m_screen(curtain)
    , m_paint(m_server, curtain.window())
{
}

Overlay::~Overlay()
{
    m_input.releaseWhenUp(releaseLimit);
    for (const xcb_cursor_t made : qAsConst(m_cursors))
        xcb_free_cursor(m_server.get(), made);
    xcb_flush(m_server.get());
}

Overlay::Choice Overlay::run()
{
    begin();
    Choice choice;
    choice.failure = loop();
    m_curtain.lift();
    // With nothing held down the others get the keyboard back at once, before the picture is written.
    if (!m_input.isAnythingDown())
        m_input.release();
    choice.result = choice.failure.isEmpty() ? m_picker->result() : Picker::Result::cancelled;
    if (choice.result == Picker::Result::region)
        choice.area = m_picker->selection();
    if (choice.result == Picker::Result::window) {
        choice.window = m_picker->window();
        choice.area = windowArea(choice.window);
    }
    return choice;
}

void Overlay::begin()
{
    xcb_connection_t *connection = m_server.get();
    const xcb_query_pointer_cookie_t askPointer = xcb_query_pointer(connection, m_server.root());
    const xcb_setup_t *setup = xcb_get_setup(connection);
    const xcb_get_keyboard_mapping_cookie_t askKeyboard =
        xcb_get_keyboard_mapping(connection, setup->min_keycode, uint8_t(setup->max_keycode - setup->min_keycode + 1));
    const Reply<xcb_query_pointer_reply_t> pointer(xcb_query_pointer_reply(connection, askPointer, nullptr));
    m_keyboard.reset(xcb_get_keyboard_mapping_reply(connection, askKeyboard, nullptr));
    const QPoint at = pointer ? QPoint(pointer->root_x, pointer->root_y) : QPoint();
    m_picker.emplace(m_options.mode, m_options.offer, m_screen.windows(), m_server.area(),
                     monitorAt(m_screen.monitors(), at).scale);
    m_picker->move(at);
    if (pointer && (pointer->mask & XCB_MOD_MASK_SHIFT))
        m_picker->keyDown(Picker::Key::shift);
}

// Until something is chosen or cancelled. What it answers is why it could not go on.
QString Overlay::loop()
{
    if (m_screen.pixels().isNull())
        return QStringLiteral("the X server does not show its screen");
    if (!m_curtain.isDimmed())
        put(m_server.area());
    const QDeadlineTimer grabDeadline(grabLimit);
    QDeadlineTimer hint(hintDelay);
    while (m_picker->result() == Picker::Result::open) {
        while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(m_server.get())})
            handle(*event);
        if (m_server.isBroken())
            return QStringLiteral("the X server is gone");
        if (m_screenChanged)
            return QStringLiteral("the screen changed");
        if (!m_input.isHeld() && !m_input.take(XCB_CURSOR_NONE) && grabDeadline.hasExpired())
            return QStringLiteral("another program keeps the keyboard or the pointer");
        if (!m_textReady) {
            m_options.makeReadyForText();
            m_textReady = true;
        }
        if (!m_hinted && hint.hasExpired())
            m_hinted = true;
        refresh();
        if (m_picker->result() != Picker::Result::open)
            break;
        pollfd wait = {xcb_get_file_descriptor(m_server.get()), POLLIN, 0};
        const auto pause = !m_input.isHeld() ? int(grabRetry.count()) : m_hinted ? -1 : int(hint.remainingTime());
        // Answers waited for may have brought events along, which the descriptor does not show any more.
        if (const Reply<xcb_generic_event_t> event{xcb_poll_for_queued_event(m_server.get())}; event)
            handle(*event);
        else
            poll(&wait, 1, pause);
    }
    return {};
}

void Overlay::handle(const xcb_generic_event_t &event)
{
    const auto pointerButton = [](xcb_button_t detail) {
        return detail == 1 ? Picker::Button::left : detail == 3 ? Picker::Button::right : Picker::Button::other;
    };
    switch (event.response_type & 0x7f) {
    case XCB_MOTION_NOTIFY: {
        const auto &motion = reinterpret_cast<const xcb_motion_notify_event_t &>(event);
        m_picker->move({motion.root_x, motion.root_y});
        break;
    }
    case XCB_BUTTON_PRESS: {
        const auto &press = reinterpret_cast<const xcb_button_press_event_t &>(event);
        m_picker->move({press.root_x, press.root_y});
        m_picker->press(pointerButton(press.detail));
        break;
    }
    case XCB_BUTTON_RELEASE: {
        const auto &release = reinterpret_cast<const xcb_button_release_event_t &>(event);
        m_picker->move({release.root_x, release.root_y});
        m_picker->release(pointerButton(release.detail));
        break;
    }
    case XCB_KEY_PRESS: {
        const auto &press = reinterpret_cast<const xcb_key_press_event_t &>(event);
        m_input.notePress(press.detail);
        m_picker->keyDown(key(press.detail));
        if (const QPoint by = m_picker->takeWarp(); !by.isNull()) {
            xcb_warp_pointer(m_server.get(), XCB_WINDOW_NONE, XCB_WINDOW_NONE, 0, 0, 0, 0, int16_t(by.x()),
                             int16_t(by.y()));
            xcb_flush(m_server.get());
        }
        break;
    }
    case XCB_KEY_RELEASE: m_picker->keyUp(key(reinterpret_cast<const xcb_key_release_event_t &>(event).detail)); break;
    case XCB_EXPOSE: {
        const auto &expose = reinterpret_cast<const xcb_expose_event_t &>(event);
        put(QRect(expose.x, expose.y, expose.width, expose.height));
        break;
    }
    case XCB_CONFIGURE_NOTIFY: {
        const auto &change = reinterpret_cast<const xcb_configure_notify_event_t &>(event);
        if (change.window == m_server.root() && QSize(change.width, change.height) != m_server.area().size())
            m_screenChanged = true;
        break;
    }
    default: break;
    }
}

Picker::Key Overlay::key(xcb_keycode_t code) const
{
    const xcb_keycode_t first = xcb_get_setup(m_server.get())->min_keycode;
    if (!m_keyboard || code < first)
        return Picker::Key::other;
    // The first column, without modifiers. Values: keysymdef.h of the X protocol.
    const int index = (code - first) * m_keyboard->keysyms_per_keycode;
    if (index >= xcb_get_keyboard_mapping_keysyms_length(m_keyboard.get()))
        return Picker::Key::other;
    switch (xcb_get_keyboard_mapping_keysyms(m_keyboard.get())[index]) {
    case 0xff1b: return Picker::Key::escape;
    case 0xff0d:                            // Return
    case 0xff8d: return Picker::Key::enter; // on the keypad
    case 0x0020: return Picker::Key::space;
    case 0xffe1: // left and right Shift
    case 0xffe2: return Picker::Key::shift;
    case 0xff51: return Picker::Key::left;
    case 0xff52: return Picker::Key::up;
    case 0xff53: return Picker::Key::right;
    case 0xff54: return Picker::Key::down;
    default: return Picker::Key::other;
    }
}

void Overlay::refresh()
{
    OverlayFrame frame = compose();
    const QRegion changed = damage(m_frame, frame);
    m_frame = std::move(frame);
    put(changed);
    const xcb_cursor_t wanted = cursor(monitorAt(m_screen.monitors(), m_picker->pointer()).scale);
    if (m_input.isHeld() && wanted != m_cursor) {
        m_input.setCursor(wanted);
        m_cursor = wanted;
    }
    xcb_flush(m_server.get());
}

OverlayFrame Overlay::compose()
{
    OverlayFrame frame;
    const Monitor &monitor = monitorAt(m_screen.monitors(), m_picker->pointer());
    if (m_picker->mode() == Picker::Mode::region)
        composeRegion(frame, monitor);
    else
        composeWindow(frame, monitor);
    if (m_hinted && m_textReady && !m_picker->isDragging()) {
        const QString text = hintText();
        QImage &hint = m_labels[u'?' + text + QString::number(monitor.scale)];
        if (hint.isNull())
            hint = OverlaySprites::hint(text, monitor.scale);
        frame.sprites.prepend({QPoint(monitor.area.center().x() - hint.width() / 2,
                                      monitor.area.bottom() - pixels(48, monitor.scale) - hint.height()),
                               hint});
    }
    return frame;
}

void Overlay::composeRegion(OverlayFrame &frame, const Monitor &monitor)
{
    const QRect selection = m_picker->selection();
    const QPoint pointer = m_picker->pointer();
    const int line = pixels(1, monitor.scale);
    if (!selection.isEmpty()) {
        frame.clear = selection;
        frame.addBorder(selection, line, white);
        frame.addBorder(selection.adjusted(-line, -line, line, line), line, shade);
    }
    if (!m_textReady)
        return;
    if (m_loupe.picture.isNull() || m_loupePoint != pointer || m_loupeScale != monitor.scale) {
        m_loupe.picture = OverlaySprites::loupe(m_screen.pixels(), pointer, monitor.scale);
        m_loupePoint = pointer;
        m_loupeScale = monitor.scale;
    }
    const QPoint direction =
        selection.isEmpty() ? QPoint(1, 1) : 2 * pointer - selection.topLeft() - selection.bottomRight();
    m_loupe.at = placeLoupe(m_loupe.picture.size(), pointer, direction, monitor.area, pixels(18, monitor.scale));
    if (!selection.isEmpty()) {
        const QImage &size =
            label(QStringLiteral("%1 × %2").arg(selection.width()).arg(selection.height()), monitor.scale);
        frame.sprites.append(
            {placeLabel(size.size(), selection, monitor.area, m_loupe.area(), pixels(8, monitor.scale)), size});
    }
    frame.sprites.append(m_loupe);
}

void Overlay::composeWindow(OverlayFrame &frame, const Monitor &monitor)
{
    const int index = m_picker->window();
    if (index < 0)
        return;
    const QRect area = windowArea(index);
    frame.clear = area;
    frame.addBorder(area, pixels(3, monitor.scale), accent, OverlayFrame::Side::inside);
    if (!m_textReady)
        return;
    const QRect seen = area & monitor.area;
    const QString title = m_screen.windows()[index].title;
    const QImage &name = label(title.isEmpty() ? QStringLiteral("%1 × %2").arg(area.width()).arg(area.height()) : title,
                               monitor.scale, std::clamp(seen.width() / monitor.scale - 40, 120.0, 480.0));
    frame.sprites.append({seen.center() - QPoint(name.width(), name.height()) / 2, name});
}

// What a click on the window takes: all of it where it has pixels of its own, else what is seen of it.
QRect Overlay::windowArea(int index) const
{
    return m_screen.isComposited() ? m_screen.windows()[index].frame
                                   : visibleArea(m_screen.windows(), index, m_server.area());
}

const QImage &Overlay::label(const QString &text, double scale, double maxWidth)
{
    if (m_labels.size() > 8)
        m_labels.clear();
    QImage &label = m_labels[QStringLiteral("%1|%2|%3").arg(scale).arg(maxWidth).arg(text)];
    if (label.isNull())
        label = OverlaySprites::label(text, scale, maxWidth);
    return label;
}

QString Overlay::hintText() const
{
    if (m_options.offer == Picker::Offer::regionOnly)
        return AppLocale::text(u"Drag to select   ·   Esc to cancel", u"ドラッグで範囲を選択　·　Esc でキャンセル");
    if (m_picker->mode() == Picker::Mode::region) {
        return AppLocale::text(u"Drag to select   ·   Space for a window   ·   Esc to cancel",
                               u"ドラッグで範囲を選択　·　スペースでウインドウ　·　Esc でキャンセル");
    }
    return AppLocale::text(u"Click a window   ·   Space for a region   ·   Esc to cancel",
                           u"クリックでウインドウを選択　·　スペースで範囲　·　Esc でキャンセル");
}

void Overlay::put(const QRegion &region)
{
    for (const QRect &area : region &m_server.area()) {
        m_paint.put(
            area,
            [](QImage &target, QPoint origin, const void *overlay) {
                const auto *self = static_cast<const Overlay *>(overlay);
                paint(self->m_frame, self->m_screen.fetchedPixels(), target, origin);
            },
            this);
    }
}

xcb_cursor_t Overlay::cursor(double scale)
{
    const bool region = m_picker->mode() == Picker::Mode::region;
    xcb_cursor_t &cursor = m_cursors[QString::number(scale) + (region ? u'r' : u'w')];
    if (!cursor) {
        const QImage picture = region ? OverlaySprites::cross(scale) : OverlaySprites::camera(scale);
        cursor = m_render.makeCursor(picture.constBits(), quint16(picture.width()), quint16(picture.height()));
    }
    return cursor;
}

} // namespace qm

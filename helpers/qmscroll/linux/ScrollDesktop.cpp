#include "helpers/qmscroll/ScrollDesktop.h"

#include "helpers/overlay/Fonts.h"
#include "helpers/overlay/Overlay.h"
#include "helpers/overlay/Pixels.h"
#include "helpers/qmscroll/ScrollPanel.h"
#include "helpers/qmscroll/linux/KeyGrab.h"
#include "helpers/qmscroll/linux/SideWindow.h"
#include "helpers/x11/CaptureClaim.h"
#include "helpers/x11/Curtain.h"
#include "helpers/x11/ScreenRest.h"
#include "helpers/x11/overlay/X11Overlay.h"

#include <QDeadlineTimer>

#include <array>
#include <cmath>
#include <poll.h>
#include <xcb/xtest.h>

namespace qm {

namespace {

using namespace std::chrono_literals;

constexpr auto releaseLimit = 3s; // a key reported down for longer is stuck
constexpr auto raiseInterval = 500ms;
// Chromium loses some of eight clicks that come within a millisecond or two.
constexpr int mostClicksAtOnce = 4;
constexpr uint32_t clickInterval = 4; // milliseconds
constexpr double frameLine = 2;       // points
constexpr double frameBorder = 1;
constexpr quint32 accent = 0x0a84ff;
constexpr quint32 white = 0xffffff;

// A rectangle with rounded corners.
QRegion roundedShape(const QSize &size, int radius)
{
    QRegion shape(QRect(QPoint(), size));
    for (int y = 0; y < radius; ++y) {
        const double height = radius - y - 0.5;
        const int cut = radius - int(std::lround(std::sqrt(radius * radius - height * height)));
        for (const int row : {y, size.height() - 1 - y}) {
            shape -= QRect(0, row, cut, 1);
            shape -= QRect(size.width() - cut, row, cut, 1);
        }
    }
    return shape;
}

} // namespace

struct ScrollDesktop::State {
    std::unique_ptr<XConnection> server;
    std::unique_ptr<QGuiApplication> fonts;
    QList<Monitor> monitors;
    QRect region;
    std::array<std::optional<ScreenGrab>, 2> grabs;
    size_t nextGrab = 0;
    std::optional<SideWindow> frame;
    std::optional<SideWindow> panel;
    std::optional<KeyGrab> keys;
    std::optional<InputGrab> pressed; // never grabs anything; used to wait for the keys' release
    QDeadlineTimer nextRaise;

    std::optional<Input> translate(const xcb_generic_event_t &event);
};

ScrollDesktop::ScrollDesktop()
    : m_state(std::make_unique<State>())
{
}

ScrollDesktop::~ScrollDesktop() = default;

ScrollDesktop::Opened ScrollDesktop::open()
{
    m_state->server = XConnection::open();
    if (!m_state->server)
        return Opened::no;
    return CaptureClaim::take(*m_state->server) ? Opened::yes : Opened::busy;
}

void ScrollDesktop::waitForRest(const QRect &part)
{
    qm::waitForRest(*m_state->server, part);
}

std::optional<ScrollDesktop::Region> ScrollDesktop::chooseRegion(QString *failure)
{
    XConnection &server = *m_state->server;
    Curtain curtain(server);
    X11Overlay desktop(curtain);
    Overlay overlay(desktop, {.mode = Picker::Mode::region,
                              .offer = Picker::Offer::regionOnly,
                              .makeReadyForText = [&] { m_state->fonts = startFonts(); }});
    const Overlay::Choice choice = overlay.run();
    *failure = choice.failure;
    const QRect area = choice.area & server.area();
    if (!choice.failure.isEmpty() || choice.result != Picker::Result::region || area.isEmpty())
        return {};
    m_state->region = area;
    m_state->monitors = desktop.screen().monitors();
    for (std::optional<ScreenGrab> &grab : m_state->grabs)
        grab.emplace(server, area.size());
    const auto shown = [&](const Monitor &monitor) {
        const QRect common = monitor.area & area;
        return qint64(common.width()) * common.height();
    };
    // The monitor with most of the region comes first.
    std::stable_sort(m_state->monitors.begin(), m_state->monitors.end(),
                     [&](const Monitor &a, const Monitor &b) { return shown(a) > shown(b); });
    return Region{area, m_state->monitors.first().scale, qm::pictureScale(m_state->monitors, area),
                  desktop.screen().pixels().copy(area)};
}

QImage ScrollDesktop::grab()
{
    m_state->nextGrab ^= 1;
    return m_state->grabs[m_state->nextGrab]->takeScreen(m_state->region);
}

bool ScrollDesktop::canTurnWheel() const
{
    return m_state->server->hasExtension(xcb_test_id);
}

ScrollDesktop::Pointer ScrollDesktop::pointer() const
{
    const XConnection &server = *m_state->server;
    const Reply<xcb_query_pointer_reply_t> answer(
        xcb_query_pointer_reply(server.get(), xcb_query_pointer(server.get(), server.root()), nullptr));
    constexpr uint16_t changesTheWheel = XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 | XCB_MOD_MASK_4 |
                                         XCB_BUTTON_MASK_1 | XCB_BUTTON_MASK_2 | XCB_BUTTON_MASK_3;
    if (!answer)
        return {};
    return {{answer->root_x, answer->root_y}, (answer->mask & changesTheWheel) != 0, answer->child};
}

void ScrollDesktop::movePointer(QPoint to)
{
    const XConnection &server = *m_state->server;
    xcb_warp_pointer(server.get(), XCB_WINDOW_NONE, server.root(), 0, 0, 0, 0, int16_t(to.x()), int16_t(to.y()));
    xcb_flush(server.get());
}

void ScrollDesktop::turnWheel(int clicks)
{
    const XConnection &server = *m_state->server;
    const uint8_t button = clicks < 0 ? 4 : 5;
    const int count = std::abs(clicks);
    const uint32_t interval = count > mostClicksAtOnce ? clickInterval : 0;
    // Sent together, so that no crash leaves a button down; the server waits between them.
    for (int i = 0; i < count; ++i) {
        xcb_test_fake_input(server.get(), XCB_BUTTON_PRESS, button, i > 0 ? interval : 0, XCB_WINDOW_NONE, 0, 0, 0);
        xcb_test_fake_input(server.get(), XCB_BUTTON_RELEASE, button, 0, XCB_WINDOW_NONE, 0, 0, 0);
    }
    pointer(); // answered after the last
}

PanelPlace ScrollDesktop::showFrame()
{
    XConnection &server = *m_state->server;
    const Monitor &own = m_state->monitors.first();
    const int line = pixels(frameLine, own.scale);
    const int border = pixels(frameBorder, own.scale);
    const QRect inner = m_state->region.adjusted(-line, -line, line, line);
    const QRect outer = inner.adjusted(-border, -border, border, border);
    const QRegion ring = QRegion(outer) - m_state->region;
    m_state->frame.emplace(server, SideWindow::Look{.area = inner,
                                                    .shape = ring.translated(-inner.topLeft()),
                                                    .takesPointer = false,
                                                    .color = accent,
                                                    .border = border,
                                                    .borderColor = white});
    m_state->frame->show();

    QList<PanelScreen> others;
    for (const Monitor &monitor : m_state->monitors.mid(1))
        others.append({monitor.area, monitor.scale});
    const PanelPlace place = placePanel(outer, {own.area, own.scale}, others);
    const QSize size = ScrollPanel::size(place.shape, place.scale);
    m_state->panel.emplace(server, SideWindow::Look{.area = QRect(place.at, size),
                                                    .shape = roundedShape(size, ScrollPanel::cornerRadius(place.scale)),
                                                    .takesPointer = true});
    m_state->pressed.emplace(server);
    m_state->keys.emplace(server);
    m_state->keys->take();
    return place;
}

void ScrollDesktop::showPanel(const QImage &picture)
{
    m_state->panel->show(picture);
}

void ScrollDesktop::hidePanel()
{
    m_state->panel->hide();
}

void ScrollDesktop::hideFrame()
{
    m_state->frame->hide();
}

ScrollDesktop::Input ScrollDesktop::wait(std::chrono::milliseconds limit)
{
    xcb_connection_t *connection = m_state->server->get();
    const QDeadlineTimer deadline(limit);
    for (;;) {
        while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection)}) {
            if (const std::optional<Input> input = m_state->translate(*event))
                return *input;
        }
        if (m_state->server->isBroken())
            return {Input::Kind::gone, {}};
        if (deadline.hasExpired())
            return {};
        pollfd events = {xcb_get_file_descriptor(connection), POLLIN, 0};
        if (poll(&events, 1, int(deadline.remainingTime())) < 0)
            return {}; // a signal
    }
}

std::optional<ScrollDesktop::Input> ScrollDesktop::State::translate(const xcb_generic_event_t &event)
{
    const auto overPanel = [this](xcb_window_t window) { return panel && window == panel->id(); };
    switch (event.response_type & 0x7f) {
    case XCB_KEY_PRESS: {
        const xcb_keycode_t code = reinterpret_cast<const xcb_key_press_event_t &>(event).detail;
        pressed->notePress(code);
        switch (keys->key(code)) {
        case KeyGrab::Key::enter: return Input{Input::Kind::enter, {}};
        case KeyGrab::Key::escape: return Input{Input::Kind::escape, {}};
        case KeyGrab::Key::other: return {};
        }
        return {};
    }
    case XCB_BUTTON_PRESS:
    case XCB_BUTTON_RELEASE: {
        const auto &button = reinterpret_cast<const xcb_button_press_event_t &>(event);
        if (!overPanel(button.event) || button.detail != XCB_BUTTON_INDEX_1)
            return {};
        const bool press = (event.response_type & 0x7f) == XCB_BUTTON_PRESS;
        return Input{press ? Input::Kind::press : Input::Kind::release, {button.event_x, button.event_y}};
    }
    case XCB_MOTION_NOTIFY: {
        const auto &motion = reinterpret_cast<const xcb_motion_notify_event_t &>(event);
        return Input{Input::Kind::pointer, {motion.event_x, motion.event_y}};
    }
    case XCB_ENTER_NOTIFY: {
        const auto &enter = reinterpret_cast<const xcb_enter_notify_event_t &>(event);
        return Input{Input::Kind::pointer, {enter.event_x, enter.event_y}};
    }
    case XCB_LEAVE_NOTIFY: return Input{Input::Kind::pointer, {-1, -1}};
    case XCB_EXPOSE: {
        const auto &expose = reinterpret_cast<const xcb_expose_event_t &>(event);
        if (overPanel(expose.window))
            panel->repaint();
        return {};
    }
    case XCB_VISIBILITY_NOTIFY: {
        // Something new lies above. Do not raise again at once: another program may want to be on top as well.
        const auto &visibility = reinterpret_cast<const xcb_visibility_notify_event_t &>(event);
        if (visibility.state == XCB_VISIBILITY_UNOBSCURED || !nextRaise.hasExpired())
            return {};
        nextRaise.setRemainingTime(raiseInterval);
        for (std::optional<SideWindow> *window : {&frame, &panel}) {
            if (*window && (*window)->isShown())
                (*window)->raise();
        }
        return {};
    }
    default: return {};
    }
}

void ScrollDesktop::letGo()
{
    if (m_state->pressed)
        m_state->pressed->releaseWhenUp(releaseLimit);
    if (m_state->keys)
        m_state->keys->release();
    CaptureClaim::release(*m_state->server);
}

} // namespace qm

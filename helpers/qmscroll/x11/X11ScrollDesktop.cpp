#include "helpers/qmscroll/x11/X11ScrollDesktop.h"

#include "helpers/overlay/Fonts.h"
#include "helpers/overlay/Overlay.h"
#include "helpers/overlay/Pixels.h"
#include "helpers/qmscroll/ScrollPanel.h"
#include "helpers/qmscroll/WheelPace.h"
#include "helpers/x11/CaptureClaim.h"
#include "helpers/x11/Curtain.h"
#include "helpers/x11/ScreenRest.h"
#include "helpers/x11/overlay/X11Overlay.h"

#include <cmath>
#include <poll.h>
#include <xcb/xtest.h>

namespace qm {

namespace {

using namespace std::chrono_literals;

constexpr auto releaseLimit = 3s; // a key reported down for longer is stuck
constexpr auto raiseInterval = 500ms;
constexpr double frameLine = 2; // points
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

std::unique_ptr<ScrollDesktop> X11ScrollDesktop::open()
{
    std::unique_ptr<XConnection> server = XConnection::open();
    if (!server)
        return nullptr;
    std::unique_ptr<X11ScrollDesktop> desktop(new X11ScrollDesktop);
    desktop->m_server = std::move(server);
    return desktop;
}

bool X11ScrollDesktop::claim()
{
    return CaptureClaim::take(*m_server);
}

void X11ScrollDesktop::waitForRest(const QRect &part)
{
    qm::waitForRest(*m_server, part);
}

std::optional<ScrollDesktop::Region> X11ScrollDesktop::chooseRegion(QString *failure)
{
    XConnection &server = *m_server;
    Curtain curtain(server);
    X11Overlay desktop(curtain);
    Overlay overlay(desktop, {.mode = Picker::Mode::region,
                              .offer = Picker::Offer::regionOnly,
                              .makeReadyForText = [&] { m_fonts = startFonts(); }});
    const Overlay::Choice choice = overlay.run();
    *failure = choice.failure;
    const QRect area = choice.area & server.area();
    if (!choice.failure.isEmpty() || choice.result != Picker::Result::region || area.isEmpty())
        return {};
    m_region = area;
    m_monitors = desktop.screen().monitors();
    for (std::optional<ScreenGrab> &grab : m_grabs)
        grab.emplace(server, area.size());
    const auto shown = [&](const Monitor &monitor) {
        const QRect common = monitor.area & area;
        return qint64(common.width()) * common.height();
    };
    // The monitor with most of the region comes first.
    std::stable_sort(m_monitors.begin(), m_monitors.end(),
                     [&](const Monitor &a, const Monitor &b) { return shown(a) > shown(b); });
    return Region{area, m_monitors.first().scale, qm::pictureScale(m_monitors, area),
                  desktop.screen().pixels().copy(area)};
}

QImage X11ScrollDesktop::grab()
{
    m_nextGrab ^= 1;
    return m_grabs[m_nextGrab]->takeScreen(m_region);
}

bool X11ScrollDesktop::canTurnWheel() const
{
    return m_server->hasExtension(xcb_test_id);
}

ScrollDesktop::Pointer X11ScrollDesktop::pointer()
{
    const XConnection &server = *m_server;
    const Reply<xcb_query_pointer_reply_t> answer(
        xcb_query_pointer_reply(server.get(), xcb_query_pointer(server.get(), server.root()), nullptr));
    constexpr uint16_t changesTheWheel = XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 | XCB_MOD_MASK_4 |
                                         XCB_BUTTON_MASK_1 | XCB_BUTTON_MASK_2 | XCB_BUTTON_MASK_3;
    if (!answer)
        return {};
    return {{answer->root_x, answer->root_y}, (answer->mask & changesTheWheel) != 0, answer->child};
}

void X11ScrollDesktop::movePointer(QPoint to)
{
    const XConnection &server = *m_server;
    xcb_warp_pointer(server.get(), XCB_WINDOW_NONE, server.root(), 0, 0, 0, 0, int16_t(to.x()), int16_t(to.y()));
    xcb_flush(server.get());
}

void X11ScrollDesktop::turnWheel(int clicks)
{
    const XConnection &server = *m_server;
    const uint8_t button = clicks < 0 ? 4 : 5;
    const int count = std::abs(clicks);
    const auto interval = uint32_t(WheelPace::interval(clicks).count());
    // Sent together, so that no crash leaves a button down; the server waits between them.
    for (int i = 0; i < count; ++i) {
        xcb_test_fake_input(server.get(), XCB_BUTTON_PRESS, button, i > 0 ? interval : 0, XCB_WINDOW_NONE, 0, 0, 0);
        xcb_test_fake_input(server.get(), XCB_BUTTON_RELEASE, button, 0, XCB_WINDOW_NONE, 0, 0, 0);
    }
    pointer(); // answered after the last
}

PanelPlace X11ScrollDesktop::showFrame()
{
    XConnection &server = *m_server;
    const Monitor &own = m_monitors.first();
    const int line = pixels(frameLine, own.scale);
    const int border = pixels(frameBorder, own.scale);
    const QRect inner = m_region.adjusted(-line, -line, line, line);
    const QRect outer = inner.adjusted(-border, -border, border, border);
    const QRegion ring = QRegion(outer) - m_region;
    m_frame.emplace(server, SideWindow::Look{.area = inner,
                                             .shape = ring.translated(-inner.topLeft()),
                                             .takesPointer = false,
                                             .color = accent,
                                             .border = border,
                                             .borderColor = white});
    m_frame->show();

    QList<PanelScreen> others;
    for (const Monitor &monitor : m_monitors.mid(1))
        others.append({monitor.area, monitor.scale});
    const PanelPlace place = placePanel(outer, {own.area, own.scale}, others);
    const QSize size = ScrollPanel::size(place.shape, place.scale);
    m_panel.emplace(server, SideWindow::Look{.area = QRect(place.at, size),
                                             .shape = roundedShape(size, ScrollPanel::cornerRadius(place.scale)),
                                             .takesPointer = true});
    m_pressed.emplace(server);
    m_keys.emplace(server);
    m_keys->take();
    return place;
}

void X11ScrollDesktop::showPanel(const QImage &picture)
{
    m_panel->show(picture);
}

void X11ScrollDesktop::hidePanel()
{
    m_panel->hide();
}

void X11ScrollDesktop::hideFrame()
{
    m_frame->hide();
}

ScrollDesktop::Input X11ScrollDesktop::wait(std::chrono::milliseconds limit)
{
    xcb_connection_t *connection = m_server->get();
    const QDeadlineTimer deadline(limit);
    for (;;) {
        while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection)}) {
            if (const std::optional<Input> input = translate(*event))
                return *input;
        }
        if (m_server->isBroken())
            return {Input::Kind::gone, {}};
        if (deadline.hasExpired())
            return {};
        pollfd events = {xcb_get_file_descriptor(connection), POLLIN, 0};
        if (poll(&events, 1, int(deadline.remainingTime())) < 0)
            return {}; // a signal
    }
}

std::optional<ScrollDesktop::Input> X11ScrollDesktop::translate(const xcb_generic_event_t &event)
{
    const auto overPanel = [this](xcb_window_t window) { return m_panel && window == m_panel->id(); };
    switch (event.response_type & 0x7f) {
    case XCB_KEY_PRESS: {
        const xcb_keycode_t code = reinterpret_cast<const xcb_key_press_event_t &>(event).detail;
        m_pressed->notePress(code);
        switch (m_keys->key(code)) {
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
            m_panel->repaint();
        return {};
    }
    case XCB_VISIBILITY_NOTIFY: {
        // Something new lies above. Do not raise again at once: another program may want to be on top as well.
        const auto &visibility = reinterpret_cast<const xcb_visibility_notify_event_t &>(event);
        if (visibility.state == XCB_VISIBILITY_UNOBSCURED || !m_nextRaise.hasExpired())
            return {};
        m_nextRaise.setRemainingTime(raiseInterval);
        for (std::optional<SideWindow> *window : {&m_frame, &m_panel}) {
            if (*window && (*window)->isShown())
                (*window)->raise();
        }
        return {};
    }
    default: return {};
    }
}

void X11ScrollDesktop::letGo()
{
    if (m_pressed)
        m_pressed->releaseWhenUp(releaseLimit);
    if (m_keys)
        m_keys->release();
    CaptureClaim::release(*m_server);
}

} // namespace qm

#include "helpers/overlay/Picker.h"

#include <cmath>

namespace qm {

namespace {
constexpr double dragThreshold = 3; // points; a hand moves about that much during a click
}

Picker::Picker(Mode mode, Offer offer, const Start &start)
    : m_start(start)
    , m_offer(offer)
    , m_mode(offer == Offer::all ? mode : Mode::region)
    , m_selection(start.bounds, int(std::lround(dragThreshold * start.scale)))
    , m_pointer(start.pointer)
    , m_shift(start.shift)
{
    m_selection.setSquare(start.shift);
}

void Picker::move(QPoint to)
{
    m_pointer = to;
    m_selection.move(to);
    if ((to - m_start.pointer).manhattanLength() >= dragThreshold * m_start.scale)
        m_untouched = false;
}

void Picker::press(Button button)
{
    if (m_result != Result::open)
        return;
    m_untouched = false;
    if (button == Button::right)
        m_result = Result::cancelled;
    if (button != Button::left)
        return;
    m_pressed = true;
    if (m_mode == Mode::region)
        m_selection.press(m_pointer);
}

void Picker::release(Button button)
{
    if (button != Button::left || !m_pressed)
        return;
    m_pressed = false;
    finish();
    m_selection.release();
}

void Picker::keyDown(Key key, bool isTrigger)
{
    if (m_result != Result::open)
        return;
    if (isTrigger)
        m_tapping = m_untouched;
    else
        m_untouched = false;
    switch (key) {
    case Key::escape: m_result = Result::cancelled; break;
    case Key::enter: finishByKey(); break;
    case Key::shift:
        m_shift = true;
        m_selection.setSquare(true);
        break;
    case Key::space:
        if (isDragging())
            m_selection.setMoving(true);
        else if (!m_space && !m_pressed && m_offer == Offer::all)
            m_mode = m_mode == Mode::region ? Mode::window : Mode::region;
        m_space = true;
        break;
    case Key::left: nudge({-1, 0}); break;
    case Key::right: nudge({1, 0}); break;
    case Key::up: nudge({0, -1}); break;
    case Key::down: nudge({0, 1}); break;
    case Key::control: m_control = true; break;
    case Key::color:
        if (m_mode == Mode::region && m_offer != Offer::regionOnly)
            choose(Result::color, QRect(m_pointer, QSize(1, 1)));
        break;
    case Key::again:
        if (!lastRegion().isNull() && !m_pressed)
            choose(Result::region, lastRegion());
        break;
    case Key::other: break;
    }
}

void Picker::keyUp(Key key, bool isTrigger)
{
    if (isTrigger && m_tapping && m_untouched && m_result == Result::open)
        m_result = Result::cancelled;
    if (key == Key::shift) {
        m_shift = false;
        m_selection.setSquare(false);
    } else if (key == Key::control) {
        m_control = false;
    } else if (key == Key::space) {
        m_space = false;
        m_selection.setMoving(false);
    }
}

int Picker::window() const
{
    return m_mode == Mode::window ? windowAt(m_start.windows, m_pointer) : -1;
}

QPoint Picker::takeWarp()
{
    return std::exchange(m_warp, {});
}

// Moves the selection, or with Ctrl the edges that the pointer drags; without one, the pointer, so that a corner can be
// placed on an exact pixel.
void Picker::nudge(QPoint direction)
{
    const QPoint by = direction * (m_shift ? 10 : 1);
    if (isDragging() && m_control)
        m_selection.resize(by);
    else if (isDragging())
        m_selection.nudge(by);
    else
        m_warp += by;
}

void Picker::finish()
{
    if (m_result != Result::open)
        return;
    if (m_mode == Mode::window) {
        if (window() >= 0)
            m_result = Result::window;
    } else if (isDragging()) {
        choose(Result::region, m_selection.rect());
    }
}

// Return also takes a whole monitor: the one under the pointer, if nothing has been drawn.
void Picker::finishByKey()
{
    finish();
    if (m_result != Result::open || m_mode == Mode::window || m_pressed || m_offer == Offer::regionOnly)
        return;
    for (const QRect &monitor : m_start.monitors) {
        if (monitor.contains(m_pointer))
            choose(Result::monitor, monitor);
    }
}

void Picker::choose(Result result, const QRect &area)
{
    if (m_result == Result::open) {
        m_chosen = area;
        m_result = result;
    }
}

} // namespace qm

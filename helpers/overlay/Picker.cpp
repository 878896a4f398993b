#include "helpers/overlay/Picker.h"

#include <cmath>

namespace qm {

namespace {
constexpr double dragThreshold = 3; // points; a hand moves about that much during a click
}

Picker::Picker(Mode mode, Offer offer, const QList<ScreenWindow> &windows, const QRect &bounds, double scale)
    : m_windows(windows)
    , m_bounds(bounds)
    , m_offer(offer)
    , m_mode(mode)
    , m_selection(bounds, int(std::lround(dragThreshold * scale)))
{
}

void Picker::move(QPoint to)
{
    m_pointer = to;
    m_selection.move(to);
}

void Picker::press(Button button)
{
    if (m_result != Result::open)
        return;
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

void Picker::keyDown(Key key)
{
    if (m_result != Result::open)
        return;
    switch (key) {
    case Key::escape: m_result = Result::cancelled; break;
    case Key::enter: finish(); break;
    case Key::shift:
        m_shift = true;
        m_selection.setSquare(true);
        break;
    case Key::space:
        if (isDragging())
            m_selection.setMoving(true);
        else if (!m_space && !m_pressed && m_offer == Offer::both)
            m_mode = m_mode == Mode::region ? Mode::window : Mode::region;
        m_space = true;
        break;
    case Key::left: nudge({-1, 0}); break;
    case Key::right: nudge({1, 0}); break;
    case Key::up: nudge({0, -1}); break;
    case Key::down: nudge({0, 1}); break;
    case Key::other: break;
    }
}

void Picker::keyUp(Key key)
{
    if (key == Key::shift) {
        m_shift = false;
        m_selection.setSquare(false);
    } else if (key == Key::space) {
        m_space = false;
        m_selection.setMoving(false);
    }
}

int Picker::window() const
{
    return m_mode == Mode::window ? windowAt(m_windows, m_pointer) : -1;
}

QPoint Picker::takeWarp()
{
    return std::exchange(m_warp, {});
}

// Moves the selection; without one, the pointer, so that a corner can be placed on an exact pixel.
void Picker::nudge(QPoint direction)
{
    const QPoint by = direction * (m_shift ? 10 : 1);
    if (isDragging())
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
        m_chosen = m_selection.rect();
        m_result = Result::region;
    }
}

} // namespace qm

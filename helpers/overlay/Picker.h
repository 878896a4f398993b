#pragma once

#include "helpers/overlay/ScreenWindows.h"
#include "helpers/overlay/Selection.h"

namespace qm {

// What a person does with keys and pointer until something is chosen: no display in it, no clock. The overlay feeds it and
// paints what it says.
class Picker
{
public:
    enum class Mode { region, window };
    enum class Offer { both, regionOnly };
    enum class Key { escape, enter, space, shift, left, right, up, down, other };
    enum class Button { left, right, other };
    enum class Result { open, cancelled, region, window };

    // bounds: the whole screen. Both it and the pointer's place in pixels; scale: pixels per point.
    Picker(Mode mode, Offer offer, const QList<ScreenWindow> &windows, const QRect &bounds, double scale);

    void move(QPoint to);
    void press(Button button);
    void release(Button button);
    void keyDown(Key key); // also for each repetition of a key held down
    void keyUp(Key key);

    Result result() const { return m_result; }
    Mode mode() const { return m_mode; }
    QPoint pointer() const { return m_pointer; }
    bool isDragging() const { return !m_selection.rect().isEmpty(); }
    QRect selection() const { return m_result == Result::region ? m_chosen : m_selection.rect(); }
    int window() const; // the one under the pointer in window mode, -1: none
    QPoint takeWarp();  // by how much the pointer is to be moved, told once

private:
    void nudge(QPoint direction);
    void finish();

    const QList<ScreenWindow> m_windows;
    const QRect m_bounds;
    const Offer m_offer;
    Mode m_mode;
    Selection m_selection;
    QRect m_chosen;
    QPoint m_pointer;
    QPoint m_warp;
    bool m_shift = false;
    bool m_space = false;
    bool m_pressed = false; // the left button
    Result m_result = Result::open;
};

} // namespace qm

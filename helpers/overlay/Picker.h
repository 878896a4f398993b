#pragma once

#include "helpers/overlay/ScreenWindows.h"
#include "helpers/overlay/Selection.h"

namespace qm {

// Turns keys and pointer movements into a choice; needs no display and no clock. The overlay feeds it and paints its
// state.
class Picker
{
public:
    enum class Mode { region, window };
    enum class Offer { both, regionOnly };
    enum class Key { escape, enter, space, shift, left, right, up, down, other };
    enum class Button { left, right, other };
    enum class Result { open, cancelled, region, window };

    // bounds: the whole screen, in pixels like all points here; scale: pixels per point.
    Picker(Mode mode, Offer offer, const QList<ScreenWindow> &windows, const QRect &bounds, double scale);

    void move(QPoint to);
    void press(Button button);
    void release(Button button);
    void keyDown(Key key); // also for auto-repeat
    void keyUp(Key key);

    Result result() const { return m_result; }
    Mode mode() const { return m_mode; }
    QPoint pointer() const { return m_pointer; }
    bool isDragging() const { return !m_selection.rect().isEmpty(); }
    QRect selection() const { return m_result == Result::region ? m_chosen : m_selection.rect(); }
    int window() const; // the one under the pointer in window mode, -1 if none
    QPoint takeWarp();  // how far to move the pointer; cleared by the call

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

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
    enum class Offer { all, noWindows, regionOnly }; // noWindows: nobody knows where they are
    enum class Key { escape, enter, space, shift, control, left, right, up, down, color, again, other };
    enum class Button { left, right, other };
    enum class Result { open, cancelled, region, window, monitor, color };

    // What there is to choose from, and how things stand when the choice begins. All in pixels of the whole screen.
    struct Start {
        QList<ScreenWindow> windows = {};
        QList<QRect> monitors = {};
        QRect bounds = {};
        QRect lastRegion = {}; // null if there is none
        QPoint pointer = {};
        double scale = 1;   // pixels per point
        bool shift = false; // is held down
    };
    Picker(Mode mode, Offer offer, const Start &start);

    // isTrigger: it is the key that starts captures, whatever else it means here. A tap of it cancels a choice of which
    // nothing has been made yet: nothing pressed, and the pointer where it was.
    void move(QPoint to);
    void press(Button button);
    void release(Button button);
    void keyDown(Key key, bool isTrigger = false); // also for auto-repeat
    void keyUp(Key key, bool isTrigger = false);

    Result result() const { return m_result; }
    Mode mode() const { return m_mode; }
    QPoint pointer() const { return m_pointer; }
    bool isDragging() const { return !m_selection.rect().isEmpty(); }
    // What is being drawn; once that is the result, the region or monitor chosen.
    QRect selection() const { return m_result == Result::open ? m_selection.rect() : m_chosen; }
    QRect lastRegion() const { return m_mode == Mode::region ? m_start.lastRegion : QRect(); } // null if there is none
    int window() const; // the one under the pointer in window mode, -1 if none
    QPoint takeWarp();  // how far to move the pointer; cleared by the call

private:
    void nudge(QPoint direction);
    void finish();
    void finishByKey();
    void choose(Result result, const QRect &area);

    const Start m_start;
    const Offer m_offer;
    Mode m_mode;
    Selection m_selection;
    QRect m_chosen;
    QPoint m_pointer;
    QPoint m_warp;
    bool m_shift = false;
    bool m_control = false;
    bool m_space = false;
    bool m_untouched = true; // nothing but the trigger has been pressed, and the pointer is where it was
    bool m_tapping = false;  // the trigger, with all untouched
    bool m_pressed = false;  // the left button
    Result m_result = Result::open;
};

} // namespace qm

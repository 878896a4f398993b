#pragma once

#include <QPoint>
#include <QRect>

namespace qm {

// A rectangle drawn with the pointer: geometry only. Pixels; the pixel under the pointer belongs to it at both ends, so
// that the last row and column of a screen can be reached.
class Selection
{
public:
    // bounds: nothing outside can be selected. threshold: how far the pointer moves before a press is a drag.
    Selection(const QRect &bounds, int threshold);

    void press(QPoint at);
    void move(QPoint to);
    void release();
    void setSquare(bool square); // while set, both sides are as long as the longer one, as far as the bounds allow
    void setMoving(bool moving); // while set, the pointer moves the whole rectangle
    void nudge(QPoint by);       // moves it, and where the pointer holds it

    bool isPressed() const { return m_pressed; }
    QRect rect() const; // empty until the press became a drag

private:
    QPoint corner() const; // opposite to the anchor
    QPoint keptInside(QPoint anchor, QPoint corner) const;

    QRect m_bounds;
    int m_threshold;
    bool m_pressed = false;
    bool m_dragging = false;
    bool m_square = false;
    bool m_moving = false;
    QPoint m_anchor;
    QPoint m_pointer;
    QPoint m_offset;                     // from the pointer to the corner it holds
    QPoint m_movedFrom;                  // the pointer's place when moving began
    QPoint m_movedAnchor, m_movedCorner; // and the rectangle's
    QPoint m_corner;
};

} // namespace qm

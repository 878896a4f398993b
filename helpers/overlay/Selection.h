#pragma once

#include <QPoint>
#include <QRect>

namespace qm {

// A rectangle drawn with the pointer; pure geometry. Pixels; both end pixels belong to it, so that the last row and
// column of a screen can be reached.
class Selection
{
public:
    // bounds limit the selection. threshold: how far the pointer must move before a press becomes a drag.
    Selection(const QRect &bounds, int threshold);

    void press(QPoint at);
    void move(QPoint to);
    void release();
    void setSquare(bool square); // while set, both sides are as long as the longer one, within the bounds
    void setMoving(bool moving); // while set, the pointer moves the whole rectangle
    void nudge(QPoint by);       // moves it, along with the point where the pointer holds it
    void resize(QPoint by);      // moves only the corner that the pointer drags, within the bounds

    bool isPressed() const { return m_pressed; }
    QRect rect() const; // empty until a press becomes a drag

private:
    QPoint corner() const; // opposite the anchor
    QPoint keptInside(QPoint anchor, QPoint corner) const;

    QRect m_bounds;
    int m_threshold;
    bool m_pressed = false;
    bool m_dragging = false;
    bool m_square = false;
    bool m_moving = false;
    QPoint m_anchor;
    QPoint m_pointer;
    QPoint m_offset;                     // from the pointer to the corner it drags
    QPoint m_movedFrom;                  // pointer position when moving began
    QPoint m_movedAnchor, m_movedCorner; // rectangle when moving began
    QPoint m_corner;
};

} // namespace qm

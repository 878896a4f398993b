#pragma once

#include "platform/QtQueue.h"
#include "ui/FloatingPanel.h"

#include <chrono>
#include <functional>

namespace qm {

// Counts the seconds to a capture down, in a corner of the monitor under the pointer. A click on it cancels; so does
// destroying it. Main thread.
class Countdown : public FloatingPanel
{
public:
    // Calls finished once, 300 ms before the time is up, so that what was below can come to rest: the countdown is off the
    // screen by then, and place is what it covered, in native pixels of the desktop (null if there was less than a second to
    // count). Not called after a click. It may destroy the countdown.
    Countdown(std::chrono::seconds time, std::function<void(QRect place)> finished, TaskQueue &queue = QtQueue::main());

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;

private:
    void count();
    void finish();

    std::chrono::seconds m_left;
    std::function<void(QRect place)> m_finished;
    TaskQueue &m_queue;
    Timer m_next;
};

} // namespace qm

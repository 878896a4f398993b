#pragma once

#include <QPointF>

namespace qm {

// A pointer that is moved and a wheel that is turned in the user's place. One thread.
class WheelDevice
{
public:
    virtual ~WheelDevice() = default;

    virtual void movePointer(QPointF to) = 0; // in the compositor's coordinates
    virtual void turn(int clicks) = 0;        // at the pointer; negative: up. Returns when all have been sent
};

} // namespace qm

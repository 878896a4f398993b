#include "platform/CaptureRoad.h"

namespace qm {

CaptureRoad CaptureRoad::current()
{
    return {Kind::system};
}

void CaptureRoad::askAgain(const std::function<void()> &done)
{
    done();
}

} // namespace qm

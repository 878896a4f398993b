#include "platform/CaptureRoad.h"

namespace qm {

CaptureRoad CaptureRoad::current()
{
    return {Kind::system};
}

void CaptureRoad::askAgain(std::function<void()> done)
{
    done();
}

} // namespace qm

#include "platform/PanelSurface.h"

namespace qm {

bool PanelSurface::isOffered()
{
    return false;
}

std::unique_ptr<PanelSurface> PanelSurface::make(QSize, int, Pointer)
{
    return nullptr;
}

} // namespace qm

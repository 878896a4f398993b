#include "platform/NativeLook.h"

namespace qm {

std::optional<QColor> NativeLook::accent()
{
    return std::nullopt;
}

QImage NativeLook::symbol(const QString &, QSize)
{
    return {};
}

bool NativeLook::trayTintsIcons()
{
    return false;
}

} // namespace qm

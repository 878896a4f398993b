#include "platform/DesktopShortcuts.h"

namespace qm {

// The trigger key works here, once the user permits it.
std::optional<bool> DesktopShortcuts::areSet()
{
    return std::nullopt;
}

Outcome DesktopShortcuts::set(bool, const QString &, const Names &)
{
    return Outcome::failure({});
}

} // namespace qm

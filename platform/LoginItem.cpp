#include "platform/LoginItem.h"

#include "platform/LoginItemService.h"

namespace qm {

bool LoginItem::isEnabled()
{
    return LoginItemService::isEnabled();
}

Outcome LoginItem::setEnabled(bool on)
{
    if (on == isEnabled())
        return Outcome::success();
    return on ? LoginItemService::enable() : LoginItemService::disable();
}

} // namespace qm

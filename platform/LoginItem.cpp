#include "platform/LoginItem.h"

#include "platform/LoginItemService.h"

namespace qm {

using LoginItemService::State;

bool LoginItem::isEnabled()
{
    return LoginItemService::state() == State::on;
}

Outcome LoginItem::setEnabled(bool on)
{
    if (LoginItemService::state() == (on ? State::on : State::off))
        return Outcome::success();
    return on ? LoginItemService::enable() : LoginItemService::disable();
}

Outcome LoginItem::repair()
{
    return LoginItemService::state() == State::broken ? LoginItemService::enable() : Outcome::success();
}

} // namespace qm

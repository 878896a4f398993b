#include "platform/LoginItemService.h"

#import <ServiceManagement/ServiceManagement.h>

namespace qm {

LoginItemService::State LoginItemService::state()
{
    return SMAppService.mainAppService.status == SMAppServiceStatusEnabled ? State::on : State::off;
}

static Outcome outcomeOf(BOOL done, NSError *error)
{
    return done ? Outcome::success() : Outcome::failure(QString::fromNSString(error.localizedDescription));
}

Outcome LoginItemService::enable()
{
    NSError *error = nil;
    const BOOL done = [SMAppService.mainAppService registerAndReturnError:&error];
    return outcomeOf(done, error);
}

Outcome LoginItemService::disable()
{
    NSError *error = nil;
    const BOOL done = [SMAppService.mainAppService unregisterAndReturnError:&error];
    return outcomeOf(done, error);
}

} // namespace qm

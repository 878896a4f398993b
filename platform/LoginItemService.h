#pragma once

#include "platform/Outcome.h"

namespace qm {

// The system's own list of what is started at login, as far as this application is concerned. Main thread.
namespace LoginItemService {

bool isEnabled();
Outcome enable();
Outcome disable();

} // namespace LoginItemService
} // namespace qm

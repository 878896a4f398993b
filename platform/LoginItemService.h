#pragma once

#include "platform/Outcome.h"

namespace qm {

// This application's entry in the system's list of login items. Main thread.
namespace LoginItemService {

bool isEnabled();
Outcome enable();
Outcome disable();

} // namespace LoginItemService
} // namespace qm

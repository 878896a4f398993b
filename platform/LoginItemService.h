#pragma once

#include "platform/Outcome.h"

namespace qm {

// This application's entry in the system's list of login items. Main thread.
namespace LoginItemService {

enum class State {
    off,
    on,
    broken, // switched on, but the program it names is gone: nothing starts
};

State state();
Outcome enable();
Outcome disable();

} // namespace LoginItemService
} // namespace qm

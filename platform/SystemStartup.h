#pragma once

#include <functional>

namespace qm {

// What a system wants of an application that lives beside the clock: on Linux nothing. Main thread, after the application
// object was made.
namespace SystemStartup {

void becomeAccessory();     // no Dock icon, no main menu
void askForAccessibility(); // the system asks the user for what the key monitor needs; once, and the answer is not told

// Calls opened whenever the user starts the application once more, where the system tells the running one of that instead
// of starting another.
void whenOpenedAgain(const std::function<void()> &opened);

} // namespace SystemStartup
} // namespace qm

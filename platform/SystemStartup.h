#pragma once

#include <functional>

namespace qm {

// What the system requires of an application that lives in the menu bar; nothing on Linux. Main thread, once the
// application object exists.
namespace SystemStartup {

// Whether there is anything to show windows on. Needs no application object, which could not be created without.
bool hasDisplay();

void becomeAccessory();     // no Dock icon, no main menu
void askForAccessibility(); // prompts once for the key monitor's permission; the answer is not reported

// Calls opened whenever the user starts the application again, if the system notifies the running instance instead of
// starting another.
void whenOpenedAgain(const std::function<void()> &opened);

} // namespace SystemStartup
} // namespace qm

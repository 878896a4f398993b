#pragma once

#include <functional>

namespace qm {

// What the system requires of a program that starts, and of one that lives in the menu bar. Main thread, once the
// application object exists.
namespace SystemStartup {

// Whether there is anything to show windows on. Needs no application object, which could not be created without.
bool hasDisplay();

// Connects to the services of the user's session, before anything else does. False if they take connections but do not
// answer within 5 s; then this process does without them. Whoever asked them would wait for ever. Runs the events of the
// application object.
bool connectToSession();

void becomeAccessory();     // no Dock icon, no main menu
void askForAccessibility(); // prompts once for the key monitor's permission; the answer is not reported

// Calls opened whenever the user starts the application again, if the system notifies the running instance instead of
// starting another.
void whenOpenedAgain(const std::function<void()> &opened);

} // namespace SystemStartup
} // namespace qm

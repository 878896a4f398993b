#include "platform/SystemStartup.h"

namespace qm {

void SystemStartup::becomeAccessory() {}

void SystemStartup::askForAccessibility() {}

void SystemStartup::whenOpenedAgain(std::function<void()>) {} // another process is started, and hands its command over

} // namespace qm

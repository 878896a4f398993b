#include "platform/SystemStartup.h"

namespace qm {

void SystemStartup::becomeAccessory() {}

void SystemStartup::askForAccessibility() {}

// Here another process starts and hands its command over.
void SystemStartup::whenOpenedAgain(const std::function<void()> &) {}

} // namespace qm

#include "platform/SystemStartup.h"

namespace qm {

void SystemStartup::becomeAccessory() {}

void SystemStartup::askForAccessibility() {}

// Another process is started, and hands its command over.
void SystemStartup::whenOpenedAgain(const std::function<void()> &) {}

} // namespace qm

#pragma once

#include "platform/Outcome.h"

namespace qm {

// Launch at login. Main thread.
namespace LoginItem {

bool isEnabled();
Outcome setEnabled(bool on); // asks the system only for a change

} // namespace LoginItem
} // namespace qm

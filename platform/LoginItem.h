#pragma once

#include "platform/Outcome.h"

namespace qm {

// Launch at login. Main thread.
namespace LoginItem {

bool isEnabled();
Outcome setEnabled(bool on); // only contacts the system if this is a change

} // namespace LoginItem
} // namespace qm

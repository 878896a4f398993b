#pragma once

#include "platform/Outcome.h"

namespace qm {

// Launch at login. Main thread.
namespace LoginItem {

bool isEnabled();            // does something start at login?
Outcome setEnabled(bool on); // only contacts the system if this is a change
Outcome repair();            // enables again what is switched on but names a program that is gone

} // namespace LoginItem
} // namespace qm

#pragma once

#include "platform/Outcome.h"

namespace qm {

// Moves a file to the user's trash, from where the desktop's file browser restores it. Any thread; waits for the file
// system, which may be on a network. Where there is no trash (some removable and remote file systems have none, and its
// folder may be impossible to create) the file stays as it was, and the outcome says why.
Outcome putIntoTrash(const QString &path);

} // namespace qm

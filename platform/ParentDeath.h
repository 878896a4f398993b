#pragma once

namespace qm {

// To be called in a child between fork and exec: asks the system to end the child when the thread that started it ends.
// Where the system has no such wish, nothing happens and the child notices by its broken pipe.
void endWithParent();

} // namespace qm

#pragma once

namespace qm {

// Call in a child between fork and exec: asks the system to end the child when the thread that started it ends. Does
// nothing if the system lacks this; the child then notices its broken pipe.
void endWithParent();

} // namespace qm

#pragma once

#include <string>

namespace qm {

// sway's description of its windows: the answer to GET_TREE of its IPC (sway-ipc(7)), JSON. Empty if the compositor is
// another one, or does not answer within 200 ms.
std::string swayTree();

} // namespace qm

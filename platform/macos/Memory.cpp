#include "platform/Memory.h"

namespace qm {

// The system's allocator returns large blocks by itself.
void Memory::returnLargeBlocks() {}

void Memory::returnFree() {}

} // namespace qm

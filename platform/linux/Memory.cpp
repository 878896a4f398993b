#include "platform/Memory.h"

#include <malloc.h>

namespace qm {

static constexpr int largeBlock = 256 * 1024; // bytes

// Only glibc has these; elsewhere the allocator decides.
void Memory::returnLargeBlocks()
{
#ifdef M_MMAP_THRESHOLD
    mallopt(M_MMAP_THRESHOLD, largeBlock); // a fixed one, which does not grow with what is freed
    mallopt(M_TRIM_THRESHOLD, 4 * largeBlock);
#endif
}

void Memory::returnFree()
{
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}

} // namespace qm

#include "helpers/curtain/Dimming.h"

namespace qm {

void dim(uint32_t *to, const uint32_t *from, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        to[i] = dimmed(from[i]);
}

} // namespace qm

#pragma once

#include <cstddef>

namespace qm {

// Memory that a display server can share: a file without a name, so nothing is left behind however the process ends.
struct MemoryFile {
    int descriptor = -1;    // the caller's; -1 if there is not so much memory
    void *memory = nullptr; // the same, mapped; zero

    static MemoryFile create(size_t bytes);
};

} // namespace qm

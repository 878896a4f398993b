#include "helpers/curtain/MemoryFile.h"

#include <sys/mman.h>
#include <unistd.h>

namespace qm {

MemoryFile MemoryFile::create(size_t bytes)
{
    const int file = memfd_create("quillmere-screen", MFD_CLOEXEC);
    if (file < 0)
        return {};
    void *memory = MAP_FAILED;
    if (ftruncate(file, off_t(bytes)) == 0)
        memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (memory == MAP_FAILED) {
        close(file);
        return {};
    }
    return {file, memory};
}

} // namespace qm

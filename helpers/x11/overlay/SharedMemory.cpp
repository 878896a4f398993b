#include "helpers/x11/overlay/SharedMemory.h"

#include "helpers/curtain/MemoryFile.h"

#include <sys/mman.h>
#include <xcb/shm.h>

namespace qm {

std::unique_ptr<SharedMemory> SharedMemory::create(XConnection &server, size_t bytes)
{
    if (!server.hasExtension(xcb_shm_id))
        return nullptr;
    const MemoryFile file = MemoryFile::create(bytes);
    if (!file.memory)
        return nullptr;
    std::unique_ptr<SharedMemory> shared(new SharedMemory(server, static_cast<uchar *>(file.memory), bytes));
    const xcb_void_cookie_t attached =
        xcb_shm_attach_fd_checked(server.get(), shared->m_segment, file.descriptor, 0); // closes it
    if (const Reply<xcb_generic_error_t> error(xcb_request_check(server.get(), attached)); error) {
        shared->m_segment = 0;
        return nullptr;
    }
    return shared;
}

SharedMemory::SharedMemory(XConnection &server, uchar *data, size_t size)
    : m_server(server)
    , m_data(data)
    , m_size(size)
    , m_segment(xcb_generate_id(server.get()))
{
}

SharedMemory::~SharedMemory()
{
    if (m_segment)
        xcb_shm_detach(m_server.get(), m_segment);
    munmap(m_data, m_size);
}

} // namespace qm

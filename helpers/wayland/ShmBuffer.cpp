#include "helpers/wayland/ShmBuffer.h"

#include "helpers/curtain/MemoryFile.h"

#include <limits>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client-protocol.h>

namespace qm {

static size_t byteCount(QSize size, int bytesPerLine)
{
    return size_t(bytesPerLine) * size_t(size.height());
}

std::unique_ptr<ShmBuffer> ShmBuffer::create(wl_shm *shm, QSize size, int bytesPerLine, uint32_t format)
{
    if (size.isEmpty() || bytesPerLine / 4 < size.width() || bytesPerLine % 4 != 0)
        return nullptr;
    const size_t bytes = byteCount(size, bytesPerLine);
    if (bytes > size_t(std::numeric_limits<int32_t>::max())) // the protocol's limit
        return nullptr;
    const MemoryFile file = MemoryFile::create(bytes);
    if (!file.memory)
        return nullptr;
    std::unique_ptr<ShmBuffer> buffer(new ShmBuffer);
    buffer->m_pixels = static_cast<uint32_t *>(file.memory);
    buffer->m_size = size;
    buffer->m_bytesPerLine = bytesPerLine;
    buffer->m_format = format;
    wl_shm_pool *pool = wl_shm_create_pool(shm, file.descriptor, int32_t(bytes));
    close(file.descriptor); // the request has a copy
    buffer->m_handle = wl_shm_pool_create_buffer(pool, 0, size.width(), size.height(), bytesPerLine, format);
    wl_shm_pool_destroy(pool);
    static constexpr wl_buffer_listener listener = {
        .release = [](void *self, wl_buffer *) { static_cast<ShmBuffer *>(self)->m_isRead = false; },
    };
    wl_buffer_add_listener(buffer->m_handle, &listener, buffer.get());
    return buffer;
}

void ShmBuffer::populate()
{
    // Kernels before 5.14 do not know it; nothing is lost then.
    (void)madvise(m_pixels, byteCount(m_size, m_bytesPerLine), MADV_POPULATE_WRITE);
}

ShmBuffer::~ShmBuffer()
{
    wl_buffer_destroy(m_handle);
    munmap(m_pixels, byteCount(m_size, m_bytesPerLine));
}

} // namespace qm

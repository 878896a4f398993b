#pragma once

#include <QSize>

#include <cstdint>
#include <memory>

struct wl_buffer;
struct wl_shm;

namespace qm {

// Pixels shared with the compositor. The memory has no name, so nothing is left behind however the process ends.
class ShmBuffer
{
public:
    // format: a wl_shm.format of four bytes a pixel; the memory is zero. Null if there is not so much memory, or if
    // rows of this length do not hold whole pixels.
    static std::unique_ptr<ShmBuffer> create(wl_shm *shm, QSize size, int bytesPerLine, uint32_t format);
    ~ShmBuffer();
    Q_DISABLE_COPY_MOVE(ShmBuffer)

    wl_buffer *handle() const { return m_handle; }
    uint32_t *pixels() const { return m_pixels; }
    QSize size() const { return m_size; }
    int bytesPerLine() const { return m_bytesPerLine; }
    uint32_t format() const { return m_format; }

    void populate(); // the memory is there then: writing it for the first time takes no longer than later

    bool isRead() const { return m_isRead; } // the compositor may still read it: do not write
    void handOver() { m_isRead = true; }     // attached, about to be committed

private:
    ShmBuffer() = default;

    wl_buffer *m_handle = nullptr;
    uint32_t *m_pixels = nullptr;
    QSize m_size;
    int m_bytesPerLine = 0;
    uint32_t m_format = 0;
    bool m_isRead = false;
};

} // namespace qm

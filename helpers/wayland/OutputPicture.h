#pragma once

#include <QSize>

#include <cstdint>
#include <functional>
#include <memory>

namespace qm {

class ShmBuffer;

// What one monitor showed: upright, one pixel per pixel of the monitor.
struct OutputPicture {
    QSize size;
    int stride = 0;                   // pixels from one row to the next
    std::shared_ptr<uint32_t> pixels; // 0xffRRGGBB; null if there is no picture
    uint32_t *row(int y) const { return pixels.get() + size_t(y) * size_t(stride); }
};

// A picture as a compositor delivers it.
struct RawPicture {
    QSize size;
    int bytesPerLine = 0;
    uint32_t format = 0;     // a wl_shm.format
    int transform = 0;       // a wl_output.transform, to be undone
    bool isBottomUp = false; // before the transform
    std::shared_ptr<uint32_t> pixels;
};

// The raw pixels themselves where they are as wanted already. No picture for formats that are not handled: 32 bits a pixel
// with 8 or 10 bits a colour are.
OutputPicture upright(const RawPicture &raw);

} // namespace qm

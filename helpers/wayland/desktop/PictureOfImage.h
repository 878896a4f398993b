#pragma once

#include "helpers/wayland/OutputPicture.h"

#include <QImage>

namespace qm {

// The image's pixels, which the picture keeps. No picture of a null image.
inline OutputPicture pictureOf(const QImage &image)
{
    if (image.isNull())
        return {};
    const auto pixels = std::make_shared<QImage>(image.convertToFormat(QImage::Format_RGB32));
    return {.size = pixels->size(),
            .stride = int(pixels->bytesPerLine() / 4),
            .pixels = {pixels, reinterpret_cast<uint32_t *>(pixels->bits())}};
}

} // namespace qm

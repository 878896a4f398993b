#pragma once

#include <QImage>

namespace qm {

// The part of a window's picture, which is premultiplied, that is its frame: the picture may have a shadow around it, and
// nobody tells how wide. frame: pixels. As it is if it is not larger than the frame.
QImage withoutShadow(const QImage &picture, QSize frame);

} // namespace qm

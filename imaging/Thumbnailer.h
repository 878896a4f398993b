#pragma once

#include <QImage>
#include <QString>

#include <functional>

namespace qm {

// Small versions of picture files. Any thread.
namespace Thumbnailer {

constexpr qint64 maxPixels = 2'000'000'000; // read row by row; larger ones would occupy a thread for many seconds

// The picture with its longer edge at most maxEdge (pixels), upright, never enlarged, each pixel the mean of the area
// it covers. PNG and JPEG rows are shrunk as they are decoded, so a large picture takes little memory; for pictures decoded
// as a whole see PictureReader::maxPixelsAtOnce. `unwanted` is called between rows, on this thread; work stops once it returns
// true. Null if the file can't be read or is no longer wanted. RGB32, or ARGB32_Premultiplied if it has transparency.
QImage make(const QString &path, double maxEdge, const std::function<bool()> &unwanted = {});

// A part of the picture when it is shrunk to the size `whole` (pixels, upright), in which `part` lies; otherwise as above.
// Only the part is held. The rows above it have to be decoded all the same, those below are not. Null also if `whole` is
// larger than the picture.
QImage makePart(const QString &path, QSize whole, const QRect &part, const std::function<bool()> &unwanted = {});

QImage forScreen(QImage image); // in sRGB: a painter takes every colour for the screen's

} // namespace Thumbnailer
} // namespace qm

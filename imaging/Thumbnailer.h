#pragma once

#include <QImage>
#include <QString>

#include <functional>

namespace qm {

// Small versions of picture files. Any thread.
namespace Thumbnailer {

constexpr qint64 maxPixels = 2'000'000'000; // read by rows; larger ones would keep a thread for many seconds

// The picture with its longer edge at most maxEdge (pixels), upright, never enlarged, each pixel the mean of the area it covers.
// PNG and JPEG rows are shrunk as they are decoded, so a large picture takes little memory; formats that are only decoded
// whole have ImageFile's limit. `unwanted` is asked between rows, on this thread; when it says so the work stops.
// Null when the file can't be read or is no longer wanted. RGB32, or ARGB32_Premultiplied where it is transparent.
QImage make(const QString &path, double maxEdge, const std::function<bool()> &unwanted = {});

} // namespace Thumbnailer
} // namespace qm

#include "imaging/PictureReader.h"

#include "imaging/ExifTags.h"
#include "imaging/HeifReader.h"
#include "imaging/JpegReader.h"
#include "imaging/WebpReader.h"

#include <QImageReader>

namespace qm {

// Qt's limit counts bytes and is far below a scrolling capture; the sinks' limits, in pixels, replace it. It is
// process-wide, and this runs before the first picture is read.
static void liftAllocationLimit()
{
    static const bool lifted = (QImageReader::setAllocationLimit(0), true);
    Q_UNUSED(lifted)
}

static Decoded readByQt(QIODevice &file, RowSink &sink)
{
    liftAllocationLimit();
    QImageReader reader(&file);
    reader.setDecideFormatFromContent(true);
    PictureHeader header;
    header.size = header.rows = reader.size();
    if (header.size.isEmpty())
        return Decoded::nothing; // a codec that can't tell the size in advance could allocate anything
    if (reader.format() == "tiff") {
        const qint64 position = file.pos();
        const ExifTags tags = ExifTags::parse(file);
        header.orientation = tags.orientation;
        header.dpi = tags.dpi.value_or(header.dpi);
        file.seek(position);
    }
    if (!sink.begin(header))
        return Decoded::stopped;
    QImage image;
    reader.setAutoTransform(false);
    if (!reader.read(&image) || image.size() != header.size)
        return Decoded::nothing;
    return sink.addWhole(image) ? Decoded::whole : Decoded::stopped;
}

Decoded PictureReader::read(QIODevice &file, const Wish &wish, RowSink &sink)
{
    const QByteArray head = file.peek(16);
    if (PngReader::isPng(head))
        return PngReader::read(file, wish.depth, sink);
    if (HeifReader::isHeif(head))
        return HeifReader::read(file, sink);
    Decoded decoded = Decoded::notTaken;
    if (JpegReader::isJpeg(head))
        decoded = JpegReader::read(file, wish.smallestLongEdge, sink);
    else if (WebpReader::isWebp(head))
        decoded = WebpReader::read(file, wish.smallestLongEdge, sink);
    if (decoded != Decoded::notTaken)
        return decoded;
    return file.seek(0) ? readByQt(file, sink) : Decoded::nothing;
}

QImage PictureReader::oriented(QImage image, int orientation)
{
    switch (orientation) {
    case 2: return image.mirrored(true, false);
    case 3: return image.mirrored(true, true);
    case 4: return image.mirrored(false, true);
    case 5: return image.transformed(QTransform().rotate(90)).mirrored(true, false);
    case 6: return image.transformed(QTransform().rotate(90));
    case 7: return image.transformed(QTransform().rotate(270)).mirrored(true, false);
    case 8: return image.transformed(QTransform().rotate(270));
    default: return image;
    }
}

} // namespace qm

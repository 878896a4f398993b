#include "imaging/PictureReader.h"

#include "imaging/DecodeBudget.h"
#include "imaging/DecoderProcess.h"
#include "imaging/ExifTags.h"
#include "imaging/HeifReader.h"
#include "imaging/JpegReader.h"
#include "imaging/TiffReader.h"
#include "imaging/WebpReader.h"

#include <QFileDevice>
#include <QImageReader>
#include <QLoggingCategory>

namespace qm {

// What every decoder gets, in bytes: room for a header with its colour profile and EXIF data, and for rows of any usual width.
static constexpr qint64 headerBytes = 48'000'000, usualRows = 4'000'000;
// In another process: more, as it would have to be started once more.
static constexpr qint64 usualPicture = 64'000'000;

namespace {

// Lets a reader begin only if it gets along with the room it has, in bytes.
class Bounded : public RowSink
{
public:
    Bounded(RowSink &sink, qint64 room)
        : m_sink(sink)
        , m_room(room)
    {
    }

    bool begin(const PictureHeader &header) override
    {
        const qint64 pixels = qint64(header.size.width()) * header.size.height();
        if (header.byRows) // what becomes of the rows is the sink's affair
            m_needed = qMax(header.decoding, header.delivering);
        else if (pixels <= PictureReader::maxPixelsAtOnce)
            m_needed = qMax(header.decoding, header.delivering + m_sink.keeps(header));
        else
            m_needed = DecodeBudget::shared().all();
        return m_needed <= m_room && m_sink.begin(header);
    }
    bool add(const uchar *row) override { return m_sink.add(row); }
    bool addWhole(const QImage &image) override { return m_sink.addWhole(image); }

    qint64 needed() const { return m_needed; }

private:
    RowSink &m_sink;
    const qint64 m_room;
    qint64 m_needed = 0;
};

} // namespace

// What Qt's codec holds of a picture apart from the file, in bytes; more than there is if that can't be told.
static qint64 heldByQt(const QImageReader &reader, QSize size, const ExifTags &tags)
{
    const qint64 pixels = qint64(size.width()) * size.height();
    const QByteArray format = reader.format();
    if (format == "gif")
        return pixels * 8; // the picture, and what was below it
    if (format == "jpeg" || format == "webp")
        return pixels * 12; // coefficients of four colours; a frame, the one before and its unpacked form
    const qint64 bytes = PictureHeader::paddedBytes(size, reader.imageFormat());
    const qint64 all = DecodeBudget::shared().all();
    return bytes > 0 ? bytes + qint64(qMin(double(all), tags.pieceBytes.value_or(double(all)))) : all;
}

// What EXIF calls it.
static int orientation(QImageIOHandler::Transformations transformation)
{
    switch (transformation) {
    case QImageIOHandler::TransformationMirror: return 2;
    case QImageIOHandler::TransformationRotate180: return 3;
    case QImageIOHandler::TransformationFlip: return 4;
    case QImageIOHandler::TransformationFlipAndRotate90: return 5;
    case QImageIOHandler::TransformationRotate90: return 6;
    case QImageIOHandler::TransformationMirrorAndRotate90: return 7;
    case QImageIOHandler::TransformationRotate270: return 8;
    default: return 1;
    }
}

static Decoded readByQt(QIODevice &file, RowSink &sink)
{
    // Qt's own limit, in megabytes and for the whole process, would count no more than the finished picture.
    static const bool prepared = [] {
        QImageReader::setAllocationLimit(int(DecodeBudget::shared().all() >> 20));
        QLoggingCategory::setFilterRules(
            QStringLiteral("qt.imageformats.*=false")); // damaged files are nothing unusual
        return true;
    }();
    Q_UNUSED(prepared)
    QImageReader reader(&file);
    reader.setDecideFormatFromContent(true);
    if (!QList<QByteArray>{"gif", "jpeg", "tiff", "webp"}.contains(reader.format()))
        return Decoded::nothing; // who knows which other codecs are installed, and what they would do
    PictureHeader header;
    ExifTags tags;
    header.orientation = orientation(reader.transformation()); // of a JPEG's EXIF data
    if (reader.format() == "webp")
        header.orientation = WebpReader::orientation(file);
    if (reader.format() == "tiff") {
        const qint64 position = file.pos();
        tags = ExifTags::parse(file);
        header.orientation = tags.orientation;
        header.dpi = tags.dpi.value_or(header.dpi);
        file.seek(position);
    }
    header.size = header.rows = reader.size();
    if (header.size.isEmpty())
        return Decoded::nothing; // a codec that can't tell the size in advance could allocate anything
    header.byRows = false;
    header.decoding = header.delivering = heldByQt(reader, header.size, tags);
    const QImage::Format format = reader.imageFormat();
    header.whole =
        PictureHeader::paddedBytes(header.size, format == QImage::Format_Invalid ? QImage::Format_ARGB32 : format);
    if (!sink.begin(header))
        return Decoded::stopped;
    QImage image;
    reader.setAutoTransform(false);
    if (!reader.read(&image) || image.size() != header.size)
        return Decoded::nothing;
    return sink.addWhole(image) ? Decoded::whole : Decoded::stopped;
}

static bool isLeftToAnother(const QByteArray &head)
{
    return DecoderProcess::isUsed() && !PngReader::isPng(head) && !JpegReader::isJpeg(head);
}

static bool isOfAnyFormat(const QByteArray &head)
{
    return HeifReader::isHeif(head) || WebpReader::isWebp(head) || TiffReader::isTiff(head) || head.startsWith("GIF8");
}

static Decoded readByFormat(QIODevice &file, const PictureReader::Wish &wish, RowSink &sink)
{
    const QByteArray head = file.peek(HeifReader::headBytes);
    if (isLeftToAnother(head)) {
        const auto *onDisk = qobject_cast<QFileDevice *>(&file);
        return onDisk && isOfAnyFormat(head) ? DecoderProcess::read(onDisk->fileName(), wish, sink) : Decoded::nothing;
    }
    if (PngReader::isPng(head))
        return PngReader::read(file, wish.depth, sink);
    if (HeifReader::isHeif(head))
        return HeifReader::read(file, sink);
    Decoded decoded = Decoded::notTaken;
    if (JpegReader::isJpeg(head))
        decoded = JpegReader::read(file, wish.smallestLongEdge, sink);
    else if (WebpReader::isWebp(head))
        decoded = WebpReader::read(file, wish.smallestLongEdge, sink);
    else if (TiffReader::isTiff(head))
        decoded = TiffReader::read(file, sink);
    if (decoded != Decoded::notTaken)
        return decoded;
    return file.seek(0) ? readByQt(file, sink) : Decoded::nothing;
}

// What a reader holds of the file itself, in bytes.
static qint64 heldOfFile(QIODevice &file)
{
    constexpr int copies = 3; // here, in libheif and in libde265
    const QByteArray head = file.peek(HeifReader::headBytes);
    return HeifReader::isHeif(head) ? copies * file.size() : WebpReader::isWebp(head) ? file.size() : 0;
}

// Nobody may ask for more while holding something: all might then wait for each other. So a reader that finds out from the
// header that it needs more ends, and another starts over with more. (A file that changes meanwhile can only raise that.)
Decoded PictureReader::read(QIODevice &file, const Wish &wish, RowSink &sink)
{
    DecodeBudget &budget = DecodeBudget::shared();
    const qint64 always = headerBytes + heldOfFile(file);
    const bool elsewhere = isLeftToAnother(file.peek(HeifReader::headBytes));
    for (qint64 room = elsewhere ? usualPicture : usualRows; always + room <= budget.all();) {
        const DecodeBudget::Share share = budget.take(always + room);
        if (!share)
            return Decoded::busy;
        Bounded bounded(sink, room);
        const Decoded decoded = readByFormat(file, wish, bounded);
        if (bounded.needed() <= room)
            return decoded;
        room = bounded.needed();
        if (!file.seek(0))
            return Decoded::nothing;
    }
    return Decoded::tooLarge;
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

#include "imaging/TiffReader.h"

#include "imaging/ExifTags.h"

#include <QIODevice>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <optional>
#include <tiffio.h>
#include <vector>

namespace qm {

static constexpr qint64 mostDirectoryBytes = 1 << 20; // of the strips' places; a usual picture has a few hundred

using Tiff = std::unique_ptr<TIFF, void (*)(TIFF *)>;

static QIODevice *device(thandle_t handle)
{
    return static_cast<QIODevice *>(handle);
}

static tmsize_t readBytes(thandle_t handle, void *bytes, tmsize_t count)
{
    return tmsize_t(device(handle)->read(static_cast<char *>(bytes), qint64(count)));
}

static tmsize_t writeNothing(thandle_t, void *, tmsize_t)
{
    return -1;
}

static toff_t seekTo(thandle_t handle, toff_t offset, int from)
{
    QIODevice *file = device(handle);
    const qint64 start = from == SEEK_CUR ? file->pos() : from == SEEK_END ? file->size() : 0;
    return file->seek(start + qint64(offset)) ? toff_t(file->pos()) : toff_t(-1);
}

static int keepOpen(thandle_t)
{
    return 0;
}

static toff_t sizeOf(thandle_t handle)
{
    return toff_t(device(handle)->size());
}

static int say(TIFF *, void *, const char *, const char *, va_list)
{
    return 1; // instead of on standard error: damaged files are nothing unusual here
}

static Tiff open(QIODevice &file, qint64 mostAtOnce)
{
    const std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions *)> options(TIFFOpenOptionsAlloc(),
                                                                                &TIFFOpenOptionsFree);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), tmsize_t(mostAtOnce));
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), &say, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), &say, nullptr);
    // "m": not mapped into memory, where a file that is cut meanwhile would end the program.
    return {TIFFClientOpenExt("", "rm", &file, &readBytes, &writeNothing, &seekTo, &keepOpen, &sizeOf, nullptr, nullptr,
                              options.get()),
            &TIFFClose};
}

namespace {

struct Samples {
    bool grey = false;
    bool premultiplied = false;
};

std::optional<Samples> samplesOf(TIFF *tiff)
{
    quint16 packing = 0, bits = 0, perPixel = 0, layout = 0, photometric = 0, extraCount = 0, *extra = nullptr;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &perPixel);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &layout);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &extraCount, &extra);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_COMPRESSION, &packing);
    constexpr std::array<quint16, 6> byRows = {COMPRESSION_NONE,     COMPRESSION_LZW,  COMPRESSION_ADOBE_DEFLATE,
                                               COMPRESSION_PACKBITS, COMPRESSION_LZMA, COMPRESSION_ZSTD};
    if (std::find(byRows.begin(), byRows.end(), packing) == byRows.end())
        return std::nullopt; // unpacks a strip at once, which may be larger than the file
    if (!TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric) || bits != 8 || layout != PLANARCONFIG_CONTIG ||
        TIFFIsTiled(tiff) || extraCount != 1 || extra[0] == EXTRASAMPLE_UNSPECIFIED)
        return std::nullopt;
    const Samples samples{.grey = photometric == PHOTOMETRIC_MINISBLACK,
                          .premultiplied = extra[0] == EXTRASAMPLE_ASSOCALPHA};
    if (!samples.grey && photometric != PHOTOMETRIC_RGB)
        return std::nullopt;
    return perPixel == (samples.grey ? 2 : 4) ? std::optional(samples) : std::nullopt;
}

} // namespace

static PictureHeader headerOf(TIFF *tiff, const ExifTags &tags)
{
    PictureHeader header;
    quint32 width = 0, height = 0, profileSize = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    if (qMax(width, height) <= quint32(std::numeric_limits<int>::max()))
        header.size = header.rows = QSize(int(width), int(height));
    header.format = QImage::Format_RGBA8888;
    header.orientation = tags.orientation;
    header.dpi = tags.dpi.value_or(header.dpi);
    const void *profile = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &profileSize, &profile))
        header.colorSpace =
            QColorSpace::fromIccProfile(QByteArray(static_cast<const char *>(profile), qsizetype(profileSize)));
    return header;
}

// In place; from the end, as grey pixels take half the room.
static void toRgba(uchar *pixels, int width, const Samples &samples)
{
    for (qint64 x = width - 1; x >= 0; --x) {
        const uchar *from = pixels + x * (samples.grey ? 2 : 4);
        const int alpha = from[samples.grey ? 1 : 3];
        const QRgb pixel = qRgba(from[0], from[samples.grey ? 0 : 1], from[samples.grey ? 0 : 2], alpha);
        const QRgb plain = samples.premultiplied ? qUnpremultiply(pixel) : pixel;
        uchar *to = pixels + x * 4;
        to[0] = uchar(qRed(plain));
        to[1] = uchar(qGreen(plain));
        to[2] = uchar(qBlue(plain));
        to[3] = uchar(alpha);
    }
}

bool TiffReader::isTiff(const QByteArray &head)
{
    return head.startsWith(QByteArray("II*\0", 4)) || head.startsWith(QByteArray("MM\0*", 4));
}

Decoded TiffReader::read(QIODevice &file, RowSink &sink)
{
    const ExifTags tags = ExifTags::parse(file);
    const qint64 strip = file.size() + mostDirectoryBytes; // packed, which cannot be longer than the file
    const Tiff tiff = open(file, strip);
    const std::optional<Samples> samples = tiff ? samplesOf(tiff.get()) : std::nullopt;
    if (!samples)
        return Decoded::notTaken;
    PictureHeader header = headerOf(tiff.get(), tags);
    if (header.size.isEmpty())
        return Decoded::nothing;
    const qint64 row = qint64(header.size.width()) * 4;
    header.decoding = header.delivering = strip + 2 * row;
    if (!sink.begin(header))
        return Decoded::stopped;

    std::vector<uchar> pixels(size_t(row) + size_t(TIFFScanlineSize(tiff.get())));
    for (int y = 0; y < header.size.height(); ++y) {
        if (TIFFReadScanline(tiff.get(), pixels.data(), quint32(y)) != 1)
            return y > 0 ? Decoded::cut : Decoded::nothing;
        toRgba(pixels.data(), header.size.width(), *samples);
        if (!sink.add(pixels.data()))
            return Decoded::stopped;
    }
    return Decoded::whole;
}

} // namespace qm

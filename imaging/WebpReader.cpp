#include "imaging/WebpReader.h"

#include "imaging/ExifTags.h"

#include <QIODevice>

#include <webp/decode.h>
#include <webp/demux.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <vector>

namespace qm {

static constexpr qsizetype largestExtra = 4 << 20; // of EXIF data and profiles
static constexpr qint64 bytesPerColumn = 512;      // of the rows in libwebp and in a sink
static constexpr int lossless = 2;                 // libwebp's number

using Demuxer = std::unique_ptr<WebPDemuxer, void (*)(WebPDemuxer *)>;

static Demuxer demuxerFor(const QByteArray &data) // which must outlive it
{
    const WebPData bytes{reinterpret_cast<const uint8_t *>(data.constData()), size_t(data.size())};
    return {WebPDemuxPartial(&bytes, nullptr), &WebPDemuxDelete};
}

static QByteArray chunkOf(const WebPDemuxer *demuxer, const char *type)
{
    WebPChunkIterator chunk;
    QByteArray content;
    if (demuxer && WebPDemuxGetChunk(demuxer, type, 1, &chunk)) {
        if (chunk.chunk.size <= size_t(largestExtra))
            content = QByteArray(reinterpret_cast<const char *>(chunk.chunk.bytes), qsizetype(chunk.chunk.size));
        WebPDemuxReleaseChunkIterator(&chunk);
    }
    return content;
}

static PictureHeader headerOf(const QByteArray &data, const WebPBitstreamFeatures &features, double smallestLongEdge)
{
    PictureHeader header;
    header.size = header.rows = QSize(features.width, features.height);
    header.format = features.has_alpha ? QImage::Format_RGBA8888 : QImage::Format_RGB888;
    const double reduction = smallestLongEdge / std::max(features.width, features.height);
    if (reduction > 0 && reduction < 1)
        header.rows = QSize(std::max(1, int(std::lround(features.width * reduction))),
                            std::max(1, int(std::lround(features.height * reduction))));
    const Demuxer demuxer = demuxerFor(data);
    const ExifTags tags = ExifTags::parse(chunkOf(demuxer.get(), "EXIF"));
    header.orientation = tags.orientation;
    header.dpi = tags.dpi.value_or(header.dpi);
    const QByteArray profile = chunkOf(demuxer.get(), "ICCP");
    if (!profile.isEmpty())
        header.colorSpace = QColorSpace::fromIccProfile(profile);
    header.byRows = false;
    const qint64 pixels = qint64(features.width) * features.height;
    header.delivering = PictureHeader::bytes(header.rows, header.format) + features.width * bytesPerColumn;
    header.decoding =
        header.delivering; // and then the picture in libwebp's own form, or its alpha, which is packed like one
    if (features.format == lossless || features.has_alpha)
        header.decoding += pixels * (features.format == lossless ? 4 : 5);
    return header;
}

bool WebpReader::isWebp(const QByteArray &head)
{
    return head.startsWith("RIFF") && head.sliced(qMin<qsizetype>(8, head.size())).startsWith("WEBP");
}

int WebpReader::orientation(QIODevice &file)
{
    const qint64 position = file.pos();
    file.seek(0);
    const QByteArray data = file.readAll();
    file.seek(position);
    return ExifTags::parse(chunkOf(demuxerFor(data).get(), "EXIF")).orientation;
}

Decoded WebpReader::read(QIODevice &file, double smallestLongEdge, RowSink &sink)
{
    const QByteArray data = file.readAll();
    const auto *bytes = reinterpret_cast<const uint8_t *>(data.constData());
    WebPDecoderConfig config;
    if (!WebPInitDecoderConfig(&config) || WebPGetFeatures(bytes, size_t(data.size()), &config.input) != VP8_STATUS_OK)
        return Decoded::nothing;
    if (config.input.has_animation)
        return Decoded::notTaken;
    const PictureHeader header = headerOf(data, config.input, smallestLongEdge);
    if (!sink.begin(header))
        return Decoded::stopped;

    const int stride = header.rows.width() * (config.input.has_alpha ? 4 : 3);
    const size_t size = size_t(stride) * size_t(header.rows.height());
    const std::unique_ptr<uchar[]> pixels(new (std::nothrow) uchar[size]());
    if (!pixels)
        return Decoded::nothing;
    config.options.use_scaling = header.rows != header.size;
    config.options.scaled_width = header.rows.width();
    config.options.scaled_height = header.rows.height();
    config.output.colorspace = config.input.has_alpha ? MODE_RGBA : MODE_RGB;
    config.output.is_external_memory = 1;
    config.output.u.RGBA = {pixels.get(), stride, size};
    std::unique_ptr<WebPIDecoder, void (*)(WebPIDecoder *)> decoder(WebPIDecode(nullptr, 0, &config), &WebPIDelete);
    if (!decoder)
        return Decoded::nothing;
    const VP8StatusCode status = WebPIUpdate(decoder.get(), bytes, size_t(data.size()));
    int rows = 0;
    WebPIDecGetRGB(decoder.get(), &rows, nullptr, nullptr, nullptr);
    if (status == VP8_STATUS_OK)
        rows = header.rows.height();
    decoder.reset();
    for (int y = 0; y < rows; ++y) {
        if (!sink.add(pixels.get() + size_t(y) * size_t(stride)))
            return Decoded::stopped;
    }
    return status == VP8_STATUS_OK ? Decoded::whole : rows > 0 ? Decoded::cut : Decoded::nothing;
}

} // namespace qm

#include "imaging/ImageFile.h"

#include <QFile>
#include <QImageReader>
#include <QtEndian>

#include <libheif/heif.h>

#include <memory>

namespace qm {

using ImageFile::Failure;
using ImageFile::Result;

static constexpr double ordinaryDpi = 72;
static constexpr double inchesPerMetre = 39.3701;

// Qt's codecs give the resolution in dots per metre, but fill it from the screen when the file is silent; only the file's
// own word counts. For PNG that is the pHYs chunk (PNG specification, 11.3.5.3), which stands before the first IDAT.
static double pngDpi(QIODevice &file)
{
    const qint64 start = file.pos();
    double dpi = ordinaryDpi;
    file.skip(8);
    for (;;) {
        const QByteArray head = file.read(8);
        if (head.size() < 8)
            break;
        const quint32 length = qFromBigEndian<quint32>(head.constData());
        const QByteArray type = head.sliced(4);
        if (type == "IDAT" || length > 0x7fffffffu)
            break;
        if (type == "pHYs" && length == 9) {
            const QByteArray density = file.read(9);
            if (density.size() == 9 && density[8] == 1)
                dpi = qFromBigEndian<quint32>(density.constData()) / inchesPerMetre;
            break;
        }
        file.skip(qint64(length) + 4);
    }
    file.seek(start);
    return dpi;
}

static bool isHeif(QIODevice &file)
{
    const QByteArray head = file.peek(12);
    return head.size() == 12 && heif_check_filetype(reinterpret_cast<const uint8_t *>(head.constData()),
                                                    int(head.size())) == heif_filetype_yes_supported;
}

namespace {

struct HeifPicture {
    std::unique_ptr<heif_context, void (*)(heif_context *)> context{heif_context_alloc(), &heif_context_free};
    std::unique_ptr<heif_image_handle, void (*)(const heif_image_handle *)> handle{nullptr, &heif_image_handle_release};
    QByteArray data; // must outlive the context
};

} // namespace

static HeifPicture openHeif(QIODevice &file)
{
    HeifPicture picture;
    picture.data = file.readAll();
    heif_image_handle *handle = nullptr;
    const heif_error read = heif_context_read_from_memory_without_copy(picture.context.get(), picture.data.constData(),
                                                                       size_t(picture.data.size()), nullptr);
    if (read.code == heif_error_Ok &&
        heif_context_get_primary_image_handle(picture.context.get(), &handle).code == heif_error_Ok)
        picture.handle.reset(handle);
    return picture;
}

static QSize sizeOf(const HeifPicture &picture)
{
    // Reported after the file's own rotation and mirroring, which libheif applies while decoding.
    return {heif_image_handle_get_width(picture.handle.get()), heif_image_handle_get_height(picture.handle.get())};
}

static QImage decode(const HeifPicture &picture)
{
    const bool alpha = heif_image_handle_has_alpha_channel(picture.handle.get());
    heif_image *decoded = nullptr;
    const heif_error error =
        heif_decode_image(picture.handle.get(), &decoded, heif_colorspace_RGB,
                          alpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB, nullptr);
    const std::unique_ptr<heif_image, void (*)(const heif_image *)> owner(decoded, &heif_image_release);
    if (error.code != heif_error_Ok)
        return {};
    int stride = 0;
    const uint8_t *rows = heif_image_get_plane_readonly(decoded, heif_channel_interleaved, &stride);
    const QSize size(heif_image_get_primary_width(decoded), heif_image_get_primary_height(decoded));
    return QImage(rows, size.width(), size.height(), stride, alpha ? QImage::Format_RGBA8888 : QImage::Format_RGB888)
        .copy();
}

static bool within(QSize size)
{
    return qint64(size.width()) * size.height() <= ImageFile::maxPixels;
}

static Result loadHeif(QIODevice &file)
{
    const HeifPicture picture = openHeif(file);
    if (!picture.handle)
        return {{}, Failure::undecodable};
    if (!within(sizeOf(picture)))
        return {{}, Failure::tooLarge};
    const QImage pixels = decode(picture);
    return pixels.isNull() ? Result{{}, Failure::undecodable} : Result{imageWithDpi(pixels, ordinaryDpi)};
}

std::optional<QSize> ImageFile::probe(QIODevice &file)
{
    if (isHeif(file)) {
        const HeifPicture picture = openHeif(file);
        return picture.handle ? std::optional(sizeOf(picture)) : std::nullopt;
    }
    QImageReader reader(&file);
    const QSize size = reader.size();
    if (!size.isValid())
        return std::nullopt;
    return reader.transformation() & QImageIOHandler::TransformationRotate90 ? size.transposed() : size;
}

Result ImageFile::load(QIODevice &file)
{
    if (isHeif(file))
        return loadHeif(file);
    QImageReader::setAllocationLimit(0); // the limit in pixels below takes its place
    QImageReader reader(&file);
    reader.setAutoTransform(true);
    const double dpi = reader.format() == "png" ? pngDpi(file) : ordinaryDpi;
    const QSize size = reader.size();
    if (size.isValid() && !within(size))
        return {{}, Failure::tooLarge};
    QImage pixels;
    if (!reader.read(&pixels))
        return {{}, Failure::undecodable};
    return {imageWithDpi(pixels, dpi)};
}

Result ImageFile::load(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {{}, Failure::missing};
    return load(file);
}

} // namespace qm

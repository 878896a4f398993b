#include "imaging/HeifReader.h"

#include "imaging/ExifTags.h"
#include "imaging/HeifStructure.h"

#include <QIODevice>
#include <QtEndian>

#include <libheif/heif.h>

#include <memory>

namespace qm {

// Per pixel: libde265's picture is copied to libheif's, which goes to RGB and to packed RGB; alpha is a picture of its own.
static constexpr qint64 decodingBytes = 7, alphaBytes = 4;
static constexpr qint64 bytesPerColumn = 512; // of the rows in libde265 and in a sink
static constexpr int displayP3Primaries = 12; // ITU-T H.273, table 2

using Handle = std::unique_ptr<heif_image_handle, void (*)(const heif_image_handle *)>;

// EXIF's orientation is ignored here: the format has its own, which libheif applies.
static double dpiOf(const heif_image_handle *handle)
{
    heif_item_id id = 0;
    if (heif_image_handle_get_list_of_metadata_block_IDs(handle, "Exif", &id, 1) != 1)
        return PictureHeader().dpi;
    QByteArray block(qsizetype(heif_image_handle_get_metadata_size(handle, id)), Qt::Uninitialized);
    if (block.size() < 4 || heif_image_handle_get_metadata(handle, id, block.data()).code != heif_error_Ok)
        return PictureHeader().dpi;
    const quint32 offset = qFromBigEndian<quint32>(block.constData()); // of the TIFF structure, after this number
    if (offset > quint32(block.size() - 4))
        return PictureHeader().dpi;
    return ExifTags::parse(block.sliced(4 + qsizetype(offset))).dpi.value_or(PictureHeader().dpi);
}

static QColorSpace colorSpaceOf(const heif_image_handle *handle)
{
    const size_t size = heif_image_handle_get_raw_color_profile_size(handle);
    if (size > 0) {
        QByteArray profile(qsizetype(size), Qt::Uninitialized);
        if (heif_image_handle_get_raw_color_profile(handle, profile.data()).code == heif_error_Ok)
            return QColorSpace::fromIccProfile(profile);
    }
    heif_color_profile_nclx *nclx = nullptr;
    if (heif_image_handle_get_nclx_color_profile(handle, &nclx).code != heif_error_Ok)
        return {};
    const bool p3 = nclx->color_primaries == displayP3Primaries;
    heif_nclx_color_profile_free(nclx);
    return p3 ? QColorSpace(QColorSpace::DisplayP3) : QColorSpace();
}

bool HeifReader::isHeif(const QByteArray &head)
{
    if (head.size() < 12)
        return false;
    const auto *bytes = reinterpret_cast<const uint8_t *>(head.constData());
    if (heif_check_filetype(bytes, int(head.size())) == heif_filetype_yes_supported)
        return true;
    // Phones and converters also write the brand of the container alone, and say among the compatible ones what is in it.
    const auto brand = [&](qsizetype at) { return head.sliced(at, 4); };
    if (brand(4) != "ftyp" || brand(8) != "mif1")
        return false;
    const qsizetype end = qMin(head.size(), qsizetype(qFromBigEndian<quint32>(bytes)));
    for (qsizetype at = 16; at + 4 <= end; at += 4) {
        if (brand(at) == "heic" || brand(at) == "heix")
            return true;
    }
    return false;
}

Decoded HeifReader::read(QIODevice &file, RowSink &sink)
{
    const QByteArray data = file.readAll(); // must outlive the context
    const std::unique_ptr<heif_context, void (*)(heif_context *)> context(heif_context_alloc(), &heif_context_free);
    if (heif_context_read_from_memory_without_copy(context.get(), data.constData(), size_t(data.size()), nullptr)
            .code != heif_error_Ok)
        return Decoded::nothing;
    heif_image_handle *primary = nullptr;
    if (heif_context_get_primary_image_handle(context.get(), &primary).code != heif_error_Ok)
        return Decoded::nothing;
    const Handle handle(primary, &heif_image_handle_release);
    const bool alpha = heif_image_handle_has_alpha_channel(primary);

    PictureHeader header;
    // Size after the file's own rotation and mirroring.
    header.size = QSize(heif_image_handle_get_width(primary), heif_image_handle_get_height(primary));
    header.rows = header.size;
    header.format = alpha ? QImage::Format_RGBA8888 : QImage::Format_RGB888;
    header.dpi = dpiOf(primary);
    header.colorSpace = colorSpaceOf(primary);
    header.byRows = false;
    const std::optional<qint64> coded = HeifStructure::largestPicture(data);
    if (!coded)
        return Decoded::nothing;
    const qint64 pixels = qMax(*coded, qint64(header.size.width()) * header.size.height());
    const int depth = heif_image_handle_get_luma_bits_per_pixel(primary) == 8 ? 1 : 2; // bytes of a sample
    header.decoding =
        pixels * (decodingBytes + (alpha ? alphaBytes : 0)) * depth + header.size.width() * bytesPerColumn;
    header.delivering = PictureHeader::bytes(header.size, header.format) + header.size.width() * bytesPerColumn;
    if (!sink.begin(header))
        return Decoded::stopped;

    heif_image *decoded = nullptr;
    const heif_error error =
        heif_decode_image(primary, &decoded, heif_colorspace_RGB,
                          alpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB, nullptr);
    const std::unique_ptr<heif_image, void (*)(const heif_image *)> owner(decoded, &heif_image_release);
    if (error.code != heif_error_Ok)
        return Decoded::nothing;
    int stride = 0;
    const uint8_t *rows = heif_image_get_plane_readonly(decoded, heif_channel_interleaved, &stride);
    if (!rows || header.size != QSize(heif_image_get_primary_width(decoded), heif_image_get_primary_height(decoded)))
        return Decoded::nothing;
    for (int y = 0; y < header.size.height(); ++y) {
        if (!sink.add(rows + size_t(y) * size_t(stride)))
            return Decoded::stopped;
    }
    return Decoded::whole;
}

} // namespace qm

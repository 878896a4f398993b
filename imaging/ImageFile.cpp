#include "imaging/ImageFile.h"

#include "imaging/PictureReader.h"
#include "imaging/PngKernels.h"

#include <QFile>
#include <QFileInfo>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <sys/mman.h>

namespace qm {

using ImageFile::Failure;
using ImageFile::Result;

static constexpr double inchesPerMetre = 39.3701;

static bool within(QSize size)
{
    return qint64(size.width()) * size.height() <= ImageFile::maxPixels;
}

// An image in huge pages if the system supports them: touching 60 MB for the first time, 4 KB at a time, costs as much
// as decoding them.
static QImage roomyImage(QSize size, QImage::Format format)
{
#ifdef MADV_HUGEPAGE
    constexpr size_t hugePage = size_t(2) << 20;
    const qint64 depth = QImage::toPixelFormat(format).bitsPerPixel();
    const qint64 bytesPerLine = (size.width() * depth + 31) / 32 * 4;
    const size_t bytes = size_t(bytesPerLine) * size_t(size.height());
    if (bytes >= hugePage && bytesPerLine <= INT_MAX) {
        const size_t rounded = (bytes + hugePage - 1) / hugePage * hugePage;
        if (void *memory = std::aligned_alloc(hugePage, rounded)) {
            madvise(memory, rounded, MADV_HUGEPAGE);
            return QImage(static_cast<uchar *>(memory), size.width(), size.height(), bytesPerLine, format, &std::free,
                          memory);
        }
    }
#endif
    return QImage(size, format);
}

namespace {

// Keeps the whole picture, colours in Qt's preferred formats.
class WholePicture : public RowSink
{
public:
    bool begin(const PictureHeader &header) override
    {
        m_header = header;
        m_rows = 0;
        m_pixels = {};
        m_tooLarge = !within(header.size);
        m_channels = header.format == QImage::Format_RGB888 ? 3 : header.format == QImage::Format_RGBA8888 ? 4 : 0;
        return !m_tooLarge;
    }

    qint64 keeps(const PictureHeader &header) const override
    {
        return PictureHeader::bytes(header.rows, keptFormat(header)); // nothing of one that is delivered whole
    }

    bool add(const uchar *row) override
    {
        if (m_pixels.isNull()) // not before: some readers have let go of their own form of the picture by then
            m_pixels = roomyImage(m_header.rows, keptFormat(m_header));
        if (m_pixels.isNull())
            return false;
        uchar *line = m_pixels.scanLine(m_rows++);
        if (m_channels)
            PngKernels::best().unpack(reinterpret_cast<quint32 *>(line), row, m_pixels.width(), m_channels);
        else
            std::memcpy(line, row, size_t(m_pixels.width()) * size_t(m_pixels.depth()) / 8);
        return true;
    }

    bool addWhole(const QImage &image) override
    {
        m_pixels = image;
        m_rows = image.height();
        m_header.colorSpace = image.colorSpace();
        return true;
    }

    bool tooLarge() const { return m_tooLarge; }
    bool isEmpty() const { return m_rows == 0; }

    Image image()
    {
        for (int y = m_rows; y < m_pixels.height(); ++y) // missing part of a damaged file
            std::memset(m_pixels.scanLine(y), 0, size_t(m_pixels.bytesPerLine()));
        QImage pixels =
            PictureReader::oriented(std::exchange(m_pixels, {}), m_header.orientation); // unshared, to avoid a copy
        pixels.setColorSpace(m_header.colorSpace);
        pixels.setDotsPerMeterX(int(std::lround(m_header.dpi * inchesPerMetre)));
        pixels.setDotsPerMeterY(pixels.dotsPerMeterX());
        return imageWithDpi(pixels, m_header.dpi);
    }

private:
    static QImage::Format keptFormat(const PictureHeader &header)
    {
        switch (header.format) {
        case QImage::Format_RGB888: return QImage::Format_RGB32;
        case QImage::Format_RGBA8888: return QImage::Format_ARGB32;
        default: return header.format;
        }
    }

    PictureHeader m_header;
    QImage m_pixels;
    int m_channels = 0; // of packed rows; 0 for rows kept as they are
    int m_rows = 0;
    bool m_tooLarge = false;
};

class HeaderOnly : public RowSink
{
public:
    bool begin(const PictureHeader &header) override
    {
        size = header.orientation > 4 ? header.size.transposed() : header.size;
        return false;
    }
    bool add(const uchar *) override { return false; }
    bool addWhole(const QImage &) override { return false; }

    std::optional<QSize> size;
};

} // namespace

std::optional<QSize> ImageFile::probe(QIODevice &file)
{
    HeaderOnly header;
    PictureReader::read(file, {}, header);
    return header.size;
}

Result ImageFile::load(QIODevice &file)
{
    WholePicture picture;
    const Decoded decoded = PictureReader::read(file, {}, picture);
    if (picture.tooLarge() || decoded == Decoded::tooLarge)
        return {{}, Failure::tooLarge};
    if (decoded == Decoded::busy)
        return {{}, Failure::busy};
    if (decoded == Decoded::stopped || decoded == Decoded::nothing || picture.isEmpty())
        return {{}, Failure::undecodable};
    return {picture.image(), Failure::none, decoded == Decoded::cut};
}

Result ImageFile::load(const QString &path)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) // opening a pipe would wait for a writer for ever
        return {{}, Failure::missing};
    return load(file);
}

} // namespace qm

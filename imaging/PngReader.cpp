#include "imaging/PngReader.h"

#include "imaging/ExifTags.h"
#include "imaging/PngLane.h"

#include <QIODevice>
#include <QtEndian>

#include <png.h>

#include <vector>

namespace qm {

using PngReader::Depth;
using PngReader::Lane;

static constexpr double inchesPerMetre = 39.3701;
static constexpr int mostTexts = 3; // to libpng that is one: texts are not used here, and each may unpack to 8 MB
static constexpr qint64 bytesPerColumn = 64; // of rows in libpng, in the lane and in a sink

namespace {

// libpng reports errors by longjmp. Therefore every call into it is in a member function below that has no locals with
// a destructor; whatever must be released belongs to the object.
class Reader
{
public:
    Reader(QIODevice &file, Depth depth)
        : m_file(file)
        , m_depth(depth)
        , m_png(png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, &fail, &ignore))
        , m_info(m_png ? png_create_info_struct(m_png) : nullptr)
    {
    }
    ~Reader() { png_destroy_read_struct(&m_png, &m_info, nullptr); }
    Q_DISABLE_COPY_MOVE(Reader)

    Decoded read(RowSink &sink, Lane lane);

private:
    static void fail(png_structp png, png_const_charp) { png_longjmp(png, 1); }
    static void ignore(png_structp, png_const_charp) {}
    static void readBytes(png_structp png, png_bytep out, size_t count)
    {
        auto *reader = static_cast<Reader *>(png_get_io_ptr(png));
        if (reader->m_file.read(reinterpret_cast<char *>(out), qint64(count)) != qint64(count))
            png_error(png, "end of file");
    }

    bool readHeader();
    bool startRows();
    bool readRow(uchar *into);
    bool laneFits() const;
    void describe();
    Decoded readByLane(RowSink &sink);
    Decoded readByLibpng(RowSink &sink);
    Decoded readInterlaced(RowSink &sink);

    QIODevice &m_file;
    const Depth m_depth;
    png_structp m_png;
    png_infop m_info;
    qint64 m_imageData = 0; // start of the first IDAT chunk's content
    int m_passes = 1;
    PictureHeader m_header;
};

} // namespace

bool Reader::readHeader()
{
    if (!m_info || setjmp(png_jmpbuf(m_png)))
        return false;
    png_set_read_fn(m_png, this, &readBytes);
    png_set_chunk_cache_max(m_png, mostTexts);
    png_read_info(m_png, m_info);
    return true;
}

// Sets up libpng's conversions; the header's format describes the result.
bool Reader::startRows()
{
    if (setjmp(png_jmpbuf(m_png)))
        return false;
    const bool transparent = png_get_valid(m_png, m_info, PNG_INFO_tRNS);
    const int type = png_get_color_type(m_png, m_info);
    const bool alpha = transparent || type & PNG_COLOR_MASK_ALPHA;
    const bool sixteen = png_get_bit_depth(m_png, m_info) == 16 && m_depth == Depth::file;
    const bool grey = !(type & PNG_COLOR_MASK_COLOR) && !alpha && m_depth == Depth::file;
    png_set_expand(m_png);
    if (sixteen && Q_BYTE_ORDER == Q_LITTLE_ENDIAN)
        png_set_swap(m_png);
    if (!sixteen)
        png_set_scale_16(m_png);
    if (!grey)
        png_set_gray_to_rgb(m_png);
    if (sixteen && !grey && !alpha)
        png_set_filler(m_png, 0xffff, PNG_FILLER_AFTER);
    m_passes = png_set_interlace_handling(m_png);
    if (grey)
        m_header.format = sixteen ? QImage::Format_Grayscale16 : QImage::Format_Grayscale8;
    else if (sixteen)
        m_header.format = alpha ? QImage::Format_RGBA64 : QImage::Format_RGBX64;
    else
        m_header.format = alpha ? QImage::Format_RGBA8888 : QImage::Format_RGB888;
    m_header.byRows = m_passes == 1;
    m_header.decoding = m_header.size.width() * bytesPerColumn;
    if (!m_header.byRows)
        m_header.decoding += PictureHeader::bytes(m_header.size, m_header.format);
    m_header.delivering = m_header.decoding;
    return true;
}

bool Reader::readRow(uchar *into)
{
    if (setjmp(png_jmpbuf(m_png)))
        return false;
    png_read_row(m_png, into, nullptr);
    return true;
}

// Resolution, orientation and colours. These accessors never longjmp.
void Reader::describe()
{
    m_header.size = QSize(int(png_get_image_width(m_png, m_info)), int(png_get_image_height(m_png, m_info)));
    m_header.rows = m_header.size;
    png_uint_32 across = 0, down = 0, length = 0;
    int unit = 0, method = 0, intent = 0;
    png_bytep bytes = nullptr;
    png_charp name = nullptr;
    if (png_get_pHYs(m_png, m_info, &across, &down, &unit) && unit == PNG_RESOLUTION_METER)
        m_header.dpi = across / inchesPerMetre;
    if (png_get_eXIf_1(m_png, m_info, &length, &bytes))
        m_header.orientation =
            ExifTags::parse(QByteArray::fromRawData(reinterpret_cast<const char *>(bytes), length)).orientation;
    double gamma = 0;
    double white[2] = {}, red[2] = {}, green[2] = {}, blue[2] = {};
    if (png_get_iCCP(m_png, m_info, &name, &method, &bytes, &length)) {
        m_header.colorSpace = QColorSpace::fromIccProfile(QByteArray(reinterpret_cast<const char *>(bytes), length));
    } else if (png_get_sRGB(m_png, m_info, &intent)) {
        m_header.colorSpace = QColorSpace::SRgb;
    } else if (png_get_gAMA(m_png, m_info, &gamma) && gamma > 0) {
        // The file's gamma is for encoding, Qt's for decoding.
        if (png_get_cHRM(m_png, m_info, &white[0], &white[1], &red[0], &red[1], &green[0], &green[1], &blue[0],
                         &blue[1]))
            m_header.colorSpace =
                QColorSpace({white[0], white[1]}, {red[0], red[1]}, {green[0], green[1]}, {blue[0], blue[1]},
                            QColorSpace::TransferFunction::Gamma, float(1 / gamma));
        else
            m_header.colorSpace = QColorSpace(QColorSpace::Primaries::SRgb, float(1 / gamma));
    }
}

bool Reader::laneFits() const
{
    const int type = png_get_color_type(m_png, m_info);
    return png_get_bit_depth(m_png, m_info) == 8 && m_passes == 1 &&
           (type == PNG_COLOR_TYPE_RGB || type == PNG_COLOR_TYPE_RGB_ALPHA) &&
           !png_get_valid(m_png, m_info, PNG_INFO_tRNS);
}

Decoded Reader::readByLane(RowSink &sink)
{
    char length[4];
    if (!m_file.seek(m_imageData - 8) || m_file.read(length, 4) != 4 || !m_file.seek(m_imageData))
        return Decoded::notTaken;
    return PngLane::read(m_file, qFromBigEndian<quint32>(length), m_header, sink);
}

Decoded Reader::readInterlaced(RowSink &sink)
{
    QImage pixels(m_header.size, m_header.format);
    if (pixels.isNull())
        return Decoded::nothing;
    pixels.fill(0);
    bool any = false, whole = true;
    for (int pass = 0; pass < m_passes && whole; ++pass) {
        for (int y = 0; y < pixels.height() && whole; ++y) {
            whole = readRow(pixels.scanLine(y));
            any = any || whole;
        }
    }
    for (int y = 0; any && y < pixels.height(); ++y) {
        if (!sink.add(pixels.constScanLine(y)))
            return Decoded::stopped;
    }
    return whole ? Decoded::whole : any ? Decoded::cut : Decoded::nothing;
}

Decoded Reader::readByLibpng(RowSink &sink)
{
    if (m_passes > 1)
        return readInterlaced(sink);
    std::vector<uchar> row(size_t(m_header.size.width()) * 8);
    for (int y = 0; y < m_header.size.height(); ++y) {
        if (!readRow(row.data()))
            return y > 0 ? Decoded::cut : Decoded::nothing;
        if (!sink.add(row.data()))
            return Decoded::stopped;
    }
    return Decoded::whole;
}

Decoded Reader::read(RowSink &sink, Lane lane)
{
    if (!readHeader())
        return Decoded::nothing;
    m_imageData = m_file.pos();
    describe();
    if (!startRows())
        return Decoded::nothing;
    if (!sink.begin(m_header))
        return Decoded::stopped;
    if (lane == Lane::whereItFits && laneFits()) {
        const Decoded decoded = readByLane(sink);
        if (decoded != Decoded::notTaken)
            return decoded;
        if (!m_file.seek(m_imageData))
            return Decoded::nothing;
        if (!sink.begin(m_header))
            return Decoded::stopped;
    }
    return readByLibpng(sink);
}

bool PngReader::isPng(const QByteArray &head)
{
    return head.startsWith(QByteArray("\x89PNG\r\n\x1a\n", 8));
}

Decoded PngReader::read(QIODevice &file, Depth depth, RowSink &sink, Lane lane)
{
    return Reader(file, depth).read(sink, lane);
}

} // namespace qm

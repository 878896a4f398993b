#include "imaging/JpegReader.h"

#include "imaging/ExifTags.h"

#include <QIODevice>

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <jpeglib.h>

namespace qm {

static constexpr double centimetresPerInch = 2.54;
static constexpr int mostScans = 200; // a progressive file can demand a pass over the whole picture for every few bytes
static constexpr qint64 largestHeader = 16 << 20; // EXIF and profile come in pieces of 64 KB, as many as one likes
static constexpr qint64 largestProfile = 4 << 20;
static constexpr qint64 bytesPerColumn = 256; // of the rows in libjpeg and in a sink
static constexpr int markerExif = JPEG_APP0 + 1, markerProfile = JPEG_APP0 + 2;

namespace {

// libjpeg reports errors by longjmp: see PngReader.
class Reader
{
public:
    Reader(QIODevice &file, RowSink &sink);
    ~Reader() { jpeg_destroy_decompress(&m_jpeg); }
    Q_DISABLE_COPY_MOVE(Reader)

    Decoded read(double smallestLongEdge);

private:
    static Reader *of(j_common_ptr jpeg) { return static_cast<Reader *>(jpeg->client_data); }
    static void fail(j_common_ptr jpeg) { std::longjmp(of(jpeg)->m_failed, 1); }
    static void noteDamage(j_common_ptr jpeg, int level)
    {
        if (level < 0)
            of(jpeg)->m_damaged = true;
    }
    static void ignore(j_common_ptr) {}
    static void watch(j_common_ptr jpeg)
    {
        if (of(jpeg)->m_jpeg.input_scan_number > mostScans)
            fail(jpeg);
    }
    static void ignoreSource(j_decompress_ptr) {}
    static boolean fill(j_decompress_ptr jpeg);
    static void skip(j_decompress_ptr jpeg, long count);

    bool readHeader();
    bool reduce(double smallestLongEdge);
    void describe();
    bool start();
    bool readRow(uchar *into);

    QIODevice &m_file;
    RowSink &m_sink;
    std::jmp_buf m_failed;
    jpeg_decompress_struct m_jpeg{};
    jpeg_error_mgr m_errors{};
    jpeg_source_mgr m_source{};
    jpeg_progress_mgr m_progress{};
    std::vector<JOCTET> m_input = std::vector<JOCTET>(64 * 1024);
    bool m_damaged = false;
    bool m_inHeader = true;
    PictureHeader m_header;
};

} // namespace

Reader::Reader(QIODevice &file, RowSink &sink)
    : m_file(file)
    , m_sink(sink)
{
    m_jpeg.err = jpeg_std_error(&m_errors);
    m_errors.error_exit = &fail;
    m_errors.emit_message = &noteDamage;
    m_errors.output_message = &ignore;
    m_progress.progress_monitor = &watch;
    m_source.init_source = &ignoreSource;
    m_source.fill_input_buffer = &fill;
    m_source.skip_input_data = &skip;
    m_source.resync_to_restart = &jpeg_resync_to_restart;
    m_source.term_source = &ignoreSource;
}

boolean Reader::fill(j_decompress_ptr jpeg)
{
    Reader *reader = of(reinterpret_cast<j_common_ptr>(jpeg));
    if (reader->m_inHeader && reader->m_file.pos() > largestHeader)
        fail(reinterpret_cast<j_common_ptr>(jpeg));
    qint64 got = reader->m_file.read(reinterpret_cast<char *>(reader->m_input.data()), qint64(reader->m_input.size()));
    if (got <= 0) { // truncated file: an end marker lets the decoder finish with what it has
        reader->m_damaged = true;
        reader->m_input[0] = 0xff;
        reader->m_input[1] = JPEG_EOI;
        got = 2;
    }
    reader->m_source.next_input_byte = reader->m_input.data();
    reader->m_source.bytes_in_buffer = size_t(got);
    return TRUE;
}

void Reader::skip(j_decompress_ptr jpeg, long count)
{
    jpeg_source_mgr *source = jpeg->src;
    while (count > long(source->bytes_in_buffer)) {
        count -= long(source->bytes_in_buffer);
        fill(jpeg);
    }
    if (count > 0) {
        source->next_input_byte += count;
        source->bytes_in_buffer -= size_t(count);
    }
}

bool Reader::readHeader()
{
    if (setjmp(m_failed))
        return false;
    jpeg_create_decompress(&m_jpeg);
    m_jpeg.client_data = this;
    m_jpeg.src = &m_source;
    m_jpeg.progress = &m_progress;
    jpeg_save_markers(&m_jpeg, markerExif, 0xffff);
    jpeg_save_markers(&m_jpeg, markerProfile, 0xffff);
    return jpeg_read_header(&m_jpeg, TRUE) == JPEG_HEADER_OK;
}

bool Reader::reduce(double smallestLongEdge)
{
    if (setjmp(m_failed))
        return false;
    m_inHeader = false;
    m_jpeg.out_color_space = m_jpeg.num_components == 1 ? JCS_GRAYSCALE : JCS_RGB;
    const double longEdge = std::max(m_jpeg.image_width, m_jpeg.image_height);
    while (smallestLongEdge > 0 && m_jpeg.scale_denom < 8 && longEdge / (2 * m_jpeg.scale_denom) >= smallestLongEdge)
        m_jpeg.scale_denom *= 2;
    jpeg_calc_output_dimensions(&m_jpeg);
    m_header.byRows = !jpeg_has_multiple_scans(&m_jpeg);
    m_header.decoding = m_jpeg.image_width * bytesPerColumn;
    for (int i = 0; i < m_jpeg.num_components && !m_header.byRows; ++i) { // all coefficients, up to the last scan
        const jpeg_component_info &part = m_jpeg.comp_info[i];
        const auto rounded = [](qint64 blocks, int to) { return (blocks + to - 1) / to * to; };
        m_header.decoding += rounded(part.width_in_blocks, part.h_samp_factor) *
                             rounded(part.height_in_blocks, part.v_samp_factor) * qint64(sizeof(JBLOCK));
    }
    m_header.delivering = m_header.decoding;
    return true;
}

void Reader::describe()
{
    m_header.size = QSize(int(m_jpeg.image_width), int(m_jpeg.image_height));
    m_header.rows = QSize(int(m_jpeg.output_width), int(m_jpeg.output_height));
    m_header.format = m_jpeg.output_components == 1 ? QImage::Format_Grayscale8 : QImage::Format_RGB888;
    std::optional<double> exifDpi;
    qint64 profileBytes = 0;
    for (jpeg_saved_marker_ptr marker = m_jpeg.marker_list; marker; marker = marker->next) {
        const QByteArray data(reinterpret_cast<const char *>(marker->data), qsizetype(marker->data_length));
        profileBytes += marker->marker == markerProfile ? data.size() : 0;
        if (marker->marker != markerExif || !data.startsWith("Exif"))
            continue;
        const ExifTags tags = ExifTags::parse(data);
        m_header.orientation = tags.orientation;
        exifDpi = tags.dpi;
    }
    if (m_jpeg.saw_JFIF_marker && m_jpeg.density_unit == 1)
        m_header.dpi = m_jpeg.X_density;
    else if (m_jpeg.saw_JFIF_marker && m_jpeg.density_unit == 2)
        m_header.dpi = m_jpeg.X_density * centimetresPerInch;
    else if (exifDpi)
        m_header.dpi = *exifDpi;
    JOCTET *profile = nullptr;
    unsigned length = 0;
    if (profileBytes <= largestProfile && jpeg_read_icc_profile(&m_jpeg, &profile, &length)) {
        m_header.colorSpace =
            QColorSpace::fromIccProfile(QByteArray(reinterpret_cast<const char *>(profile), qsizetype(length)));
        std::free(profile);
    }
}

bool Reader::start()
{
    if (setjmp(m_failed))
        return false;
    return jpeg_start_decompress(&m_jpeg);
}

bool Reader::readRow(uchar *into)
{
    if (setjmp(m_failed))
        return false;
    JSAMPROW row = into;
    return jpeg_read_scanlines(&m_jpeg, &row, 1) == 1;
}

Decoded Reader::read(double smallestLongEdge)
{
    if (!readHeader())
        return Decoded::nothing;
    if (m_jpeg.num_components != 1 && m_jpeg.num_components != 3)
        return Decoded::notTaken;
    if (!reduce(smallestLongEdge))
        return Decoded::nothing;
    describe();
    if (!m_sink.begin(m_header))
        return Decoded::stopped;
    if (!start())
        return Decoded::nothing;
    std::vector<uchar> row(size_t(m_header.rows.width()) * 3);
    for (int y = 0; y < m_header.rows.height(); ++y) {
        if (!readRow(row.data()))
            return y > 0 ? Decoded::cut : Decoded::nothing;
        if (!m_sink.add(row.data()))
            return Decoded::stopped;
    }
    return m_damaged ? Decoded::cut : Decoded::whole;
}

bool JpegReader::isJpeg(const QByteArray &head)
{
    return head.startsWith("\xff\xd8\xff");
}

Decoded JpegReader::read(QIODevice &file, double smallestLongEdge, RowSink &sink)
{
    return Reader(file, sink).read(smallestLongEdge);
}

} // namespace qm

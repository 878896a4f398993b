#include "imaging/PngWriter.h"

#include "imaging/PngKernels.h"

#include <QBuffer>
#include <QColorSpace>
#include <QSaveFile>
#include <QtEndian>

#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>

#include <cmath>
#include <utility>
#include <vector>

namespace qm {

static constexpr char signature[] = "\x89PNG\r\n\x1a\n";
static constexpr int chunkFrame = 8; // length and type before the content
static constexpr size_t deflatedPerChunk = (size_t(1) << 20) - chunkFrame - 4;
static constexpr size_t filteredPerStep = 128 * 1024; // stays in the cache between filtering and deflating
static constexpr size_t deflateBuffer = ISAL_DEF_LVL2_REQ + 24 * 1024 * ISAL_DEF_LVL2_TOKEN_SIZE; // symbols in a block
static constexpr int photographWindow = 9;   // log2 of the bytes searched for repetitions
static constexpr int rowsInGroup = 4;        // share a filter: rows filtered alike repeat each other
static constexpr int before = 4, after = 32; // what the row kernels touch around a row
static constexpr double inchesPerMetre = 39.3701;

// Puts length, type and checksum around the content that stands after the first chunkFrame bytes.
static void seal(QByteArray &chunk, const char *type)
{
    qToBigEndian(quint32(chunk.size() - chunkFrame), chunk.data());
    std::memcpy(chunk.data() + 4, type, 4);
    const auto *checked = reinterpret_cast<const unsigned char *>(chunk.constData()) + 4;
    const quint32 crc = qToBigEndian(crc32_gzip_refl(0, checked, quint64(chunk.size()) - 4));
    chunk.append(reinterpret_cast<const char *>(&crc), 4);
}

static QByteArray sealed(const char *type, const QByteArray &content)
{
    QByteArray chunk(chunkFrame, Qt::Uninitialized);
    chunk += content;
    seal(chunk, type);
    return chunk;
}

static QByteArray number(quint32 value)
{
    value = qToBigEndian(value);
    return QByteArray(reinterpret_cast<const char *>(&value), 4);
}

static QByteArray headerChunk(const PngWriter::Header &header, int height)
{
    const char depth = 8, colourType = header.opaque ? 2 : 6;
    return sealed("IHDR",
                  number(quint32(header.width)) + number(quint32(height)) + depth + colourType + QByteArray(3, '\0'));
}

static QByteArray profileChunk(const QByteArray &profile)
{
    QByteArray deflated(profile.size() + profile.size() / 100 + 1024, Qt::Uninitialized);
    isal_zstream stream;
    isal_deflate_stateless_init(&stream);
    stream.gzip_flag = IGZIP_ZLIB;
    stream.end_of_stream = 1;
    stream.next_in = reinterpret_cast<uint8_t *>(const_cast<char *>(profile.constData()));
    stream.avail_in = uint32_t(profile.size());
    stream.next_out = reinterpret_cast<uint8_t *>(deflated.data());
    stream.avail_out = uint32_t(deflated.size());
    if (isal_deflate_stateless(&stream) != COMP_OK)
        return {};
    deflated.resize(deflated.size() - qsizetype(stream.avail_out));
    const char method = 0;
    return sealed("iCCP", QByteArrayLiteral("ICC profile") + '\0' + method + deflated);
}

struct PngWriter::State {
    State(QIODevice &device, const Header &h);

    bool append(const QImage &image);
    bool finish();
    bool put(const QByteArray &bytes) { return m_well = m_well && out.write(bytes) == bytes.size(); }
    void deflate(bool last);
    void addRow(const quint32 *words);
    void filterGroup();

    QIODevice &out;
    const Header header;
    const PngKernels &kernels = PngKernels::best();
    const qint64 start = out.pos();
    const int channels = header.opaque ? 3 : 4;
    int height = 0; // rows so far
    bool m_well = true;
    std::vector<uchar> rows[rowsInGroup + 1]; // the row above the group, then the group
    int inGroup = 0;
    std::vector<uchar> filtered;
    size_t filteredSize = 0;
    QByteArray chunk;
    isal_zstream stream{};
    std::vector<uint8_t> levelBuffer = std::vector<uint8_t>(deflateBuffer);
};

PngWriter::State::State(QIODevice &device, const Header &h)
    : out(device)
    , header(h)
{
    m_well = header.width > 0 && header.height.value_or(1) > 0 && (header.height || !out.isSequential());
    if (!m_well)
        return;
    const size_t bytes = size_t(header.width) * size_t(channels);
    for (std::vector<uchar> &row : rows)
        row.assign(before + bytes + after, 0);
    filtered.resize(filteredPerStep + rowsInGroup * (bytes + 1) + after);
    chunk.resize(chunkFrame + qsizetype(deflatedPerChunk));

    isal_deflate_init(&stream);
    stream.level = 2;
    stream.level_buf = levelBuffer.data();
    stream.level_buf_size = uint32_t(levelBuffer.size());
    stream.hist_bits = header.photograph ? photographWindow : 0;
    stream.gzip_flag = IGZIP_ZLIB;
    stream.next_out = reinterpret_cast<uint8_t *>(chunk.data()) + chunkFrame;
    stream.avail_out = deflatedPerChunk;

    put(QByteArray(signature, 8));
    put(headerChunk(header, header.height.value_or(1)));
    if (!header.colorProfile.isEmpty())
        put(profileChunk(header.colorProfile));
    const QByteArray density = number(quint32(std::lround(header.dpi * inchesPerMetre)));
    const char perMetre = 1;
    put(sealed("pHYs", density + density + perMetre));
}

// Deflates what is filtered, writing a chunk whenever one is full; at the last call also the rest.
void PngWriter::State::deflate(bool last)
{
    stream.next_in = filtered.data();
    stream.avail_in = uint32_t(filteredSize);
    stream.end_of_stream = last;
    filteredSize = 0;
    while (m_well) {
        m_well = isal_deflate(&stream) == COMP_OK;
        const bool ended = last && stream.internal_state.state == ZSTATE_END;
        if (!m_well || (stream.avail_out > 0 && !ended))
            break;
        chunk.resize(chunkFrame + qsizetype(deflatedPerChunk) - qsizetype(stream.avail_out));
        seal(chunk, "IDAT");
        put(chunk);
        if (ended)
            break;
        chunk.resize(chunkFrame + qsizetype(deflatedPerChunk));
        stream.next_out = reinterpret_cast<uint8_t *>(chunk.data()) + chunkFrame;
        stream.avail_out = deflatedPerChunk;
    }
}

void PngWriter::State::addRow(const quint32 *words)
{
    kernels.pack(rows[++inGroup].data() + before, words, header.width, channels);
    if (inGroup == rowsInGroup)
        filterGroup();
}

void PngWriter::State::filterGroup()
{
    const int bytes = header.width * channels;
    const uchar *group[rowsInGroup + 1];
    for (int i = 0; i <= inGroup; ++i)
        group[i] = rows[i].data() + before;
    const int filter = kernels.chooseFilter(group, inGroup, bytes, channels);
    for (int i = 1; i <= inGroup; ++i) {
        filtered[filteredSize++] = uchar(filter);
        kernels.filter(filter, filtered.data() + filteredSize, group[i], group[i - 1], bytes, channels);
        filteredSize += size_t(bytes);
    }
    std::swap(rows[0], rows[inGroup]);
    inGroup = 0;
    if (filteredSize >= filteredPerStep)
        deflate(false);
}

bool PngWriter::State::append(const QImage &image)
{
    m_well = m_well && image.width() == header.width && image.height() <= header.height.value_or(INT_MAX) - height;
    // The fourth byte of RGB32 is anything.
    const bool direct =
        image.format() == QImage::Format_ARGB32 || (image.format() == QImage::Format_RGB32 && channels == 3);
    constexpr int band = 16; // rows converted at a time, to stay in the cache
    for (int y = 0; m_well && y < image.height();) {
        const int count = direct ? image.height() : qMin(band, image.height() - y);
        QImage words = image;
        if (!direct)
            words = image.copy(0, y, image.width(), count).convertToFormat(QImage::Format_ARGB32);
        for (int i = 0; m_well && i < count; ++i)
            addRow(reinterpret_cast<const quint32 *>(words.constScanLine(i)));
        y += count;
    }
    height += image.height();
    return m_well;
}

bool PngWriter::State::finish()
{
    m_well = m_well && height > 0 && (!header.height || height == *header.height);
    if (inGroup > 0)
        filterGroup();
    deflate(true);
    put(sealed("IEND", {}));
    if (!header.height && m_well) {
        const qint64 end = out.pos();
        m_well = out.seek(start + 8);
        put(headerChunk(header, height));
        m_well = m_well && out.seek(end);
    }
    return std::exchange(m_well, false); // nothing can follow
}

PngWriter::PngWriter(QIODevice &out, const Header &header)
    : m_state(std::make_unique<State>(out, header))
{
}

PngWriter::~PngWriter() = default;

bool PngWriter::append(const QImage &rows)
{
    return m_state->append(rows);
}

bool PngWriter::finish()
{
    return m_state->finish();
}

static bool isOpaque(const QImage &pixels)
{
    if (!pixels.hasAlphaChannel())
        return true;
    if (pixels.depth() != 32)
        return false;
    // The alpha of every 32-bit format is its highest byte in memory order here, except for the rare A2 formats.
    if (pixels.format() == QImage::Format_A2RGB30_Premultiplied ||
        pixels.format() == QImage::Format_A2BGR30_Premultiplied)
        return false;
    for (int y = 0; y < pixels.height(); ++y) {
        if (!PngKernels::best().opaqueWords(reinterpret_cast<const quint32 *>(pixels.constScanLine(y)), pixels.width()))
            return false;
    }
    return true;
}

// Looks at every 16th row: in windows and text a good part of the pixels equals its left neighbour.
static bool isPhotograph(const QImage &pixels)
{
    constexpr int step = 16, oneIn = 8;
    if (pixels.depth() != 32)
        return false;
    const int width = pixels.width();
    qint64 seen = 0, equal = 0;
    for (int y = 0; y < pixels.height(); y += step) {
        const auto *line = reinterpret_cast<const quint32 *>(pixels.constScanLine(y));
        for (int x = 1; x < width; ++x)
            equal += line[x] == line[x - 1];
        seen += width;
    }
    return equal * oneIn < seen;
}

static bool writeTo(QIODevice &out, const Image &image)
{
    PngWriter::Header header;
    header.width = image.pixels.width();
    header.height = image.pixels.height();
    header.dpi = 72 * qMax(1.0, std::round(image.scale()));
    header.opaque = isOpaque(image.pixels);
    header.photograph = isPhotograph(image.pixels);
    header.colorProfile = image.pixels.colorSpace().iccProfile();
    PngWriter writer(out, header);
    return writer.append(image.pixels) && writer.finish();
}

Outcome PngWriter::write(const QString &path, const Image &image)
{
    if (image.isNull())
        return Outcome::failure(QStringLiteral("no picture"));
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return Outcome::failure(file.errorString());
    const bool well = writeTo(file, image);
    // commit() alone does not notice when the last buffered bytes find the disk full; flush() does.
    return well && file.flush() && file.commit() ? Outcome::success() : Outcome::failure(file.errorString());
}

QByteArray PngWriter::encode(const Image &image)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    return !image.isNull() && writeTo(buffer, image) ? buffer.data() : QByteArray();
}

} // namespace qm

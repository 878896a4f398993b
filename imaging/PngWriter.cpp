#include "imaging/PngWriter.h"

#include "imaging/Deflater.h"
#include "imaging/PngKernels.h"
#include "platform/DiskSync.h"

#include <QBuffer>
#include <QColorSpace>
#include <QSaveFile>
#include <QTemporaryFile>
#include <QtEndian>

#include <libdeflate.h>

#include <cerrno>
#include <cmath>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace qm {

static constexpr char signature[] = "\x89PNG\r\n\x1a\n";
static constexpr int chunkFrame = 8; // length and type, preceding the content
static constexpr qsizetype mostInChunk = (qsizetype(1) << 20) - chunkFrame - 4;
static constexpr size_t filteredPerStep = 64 * 1024; // stays in the cache between filtering and deflating
static constexpr int rowsInGroup = 4;                // sharing a filter: rows filtered alike repeat each other
static constexpr int before = 4, after = 32;         // bytes the row kernels touch around a row
static constexpr double inchesPerMetre = 39.3701;

// ICC.1:2022, 7.2.6: the colour space of the data.
static bool isOfRgb(const QByteArray &profile)
{
    return profile.size() >= 128 && profile.sliced(16, 4) == "RGB ";
}

// Adds length, type and checksum to the content that follows the first chunkFrame bytes.
static void seal(QByteArray &chunk, const char *type)
{
    qToBigEndian(quint32(chunk.size() - chunkFrame), chunk.data());
    std::memcpy(chunk.data() + 4, type, 4);
    const quint32 crc = qToBigEndian(libdeflate_crc32(0, chunk.constData() + 4, size_t(chunk.size()) - 4));
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
    const char method = 0;
    return sealed("iCCP",
                  QByteArrayLiteral("ICC profile") + '\0' + method + qCompress(profile).mid(4)); // a length precedes it
}

struct PngWriter::State {
    State(QIODevice &device, const Header &h);
    State(const State &other, QIODevice &device); // goes on from there into a device of its own

    bool append(const QImage &image);
    bool keep(const QImage &rows);
    int fallBack();
    bool finish();
    bool put(const QByteArray &bytes);
    void putEnd();
    bool putHeight(int count);
    void addDeflated(const uchar *bytes, size_t count);
    void writeChunk();
    void addRow(const quint32 *words);
    void filterGroup();

    QIODevice &out;
    const Header header;
    const PngKernels &kernels = PngKernels::best();
    const qint64 start;
    const int channels = header.opaque ? 3 : 4;
    const size_t bytesInRow = size_t(qMax(0, header.width)) * size_t(channels);
    int height = 0; // rows so far
    bool m_well = true;
    std::vector<uchar> rows[rowsInGroup + 1]; // the row above the group, then the group
    int inGroup = 0;
    size_t filtered = 0; // bytes not yet passed to the deflater
    QByteArray chunk = QByteArray(chunkFrame, '\0');
    Deflater deflater;

    struct Kept {
        qint64 at = 0;
        QByteArray end; // of the file, from there on
        int height = 0;
    } kept;
    QByteArray unwritten; // what follows until the next time
};

PngWriter::State::State(QIODevice &device, const Header &h)
    : out(device)
    , header(h)
    , start(device.pos())
    , deflater(channels, qint64(bytesInRow) + 1, filteredPerStep + rowsInGroup * (bytesInRow + 1),
               [this](const uchar *bytes, size_t count) { addDeflated(bytes, count); })
{
    m_well = header.width > 0 && header.height.value_or(1) > 0 && (header.height || !out.isSequential());
    if (!m_well)
        return;
    for (std::vector<uchar> &row : rows)
        row.assign(before + bytesInRow + after, 0);
    chunk.reserve(chunkFrame + mostInChunk + 4);

    put(QByteArray(signature, 8));
    put(headerChunk(header, header.height.value_or(0))); // 0: no picture yet
    if (isOfRgb(header.colorProfile))
        put(profileChunk(header.colorProfile));
    const QByteArray density = number(quint32(std::lround(header.dpi * inchesPerMetre)));
    const char perMetre = 1;
    put(sealed("pHYs", density + density + perMetre));
}

PngWriter::State::State(const State &other, QIODevice &device)
    : out(device)
    , header(other.header)
    , start(other.start)
    , height(other.height)
    , m_well(other.m_well)
    , inGroup(other.inGroup)
    , filtered(other.filtered)
    , chunk(other.chunk)
    , deflater(other.deflater, [this](const uchar *bytes, size_t count) { addDeflated(bytes, count); })
{
    std::copy(std::begin(other.rows), std::end(other.rows), rows);
}

// A file that is filled takes a part of it, and says only to the rest why.
bool PngWriter::State::put(const QByteArray &bytes)
{
    for (qint64 done = 0; m_well && done < bytes.size();) {
        const qint64 written = out.write(bytes.constData() + done, bytes.size() - done);
        m_well = written > 0;
        done += written;
    }
    return m_well;
}

// Writes a chunk whenever one is full.
void PngWriter::State::addDeflated(const uchar *bytes, size_t count)
{
    while (count > 0) {
        const qsizetype taken = qMin(qsizetype(count), chunkFrame + mostInChunk - chunk.size());
        chunk.append(reinterpret_cast<const char *>(bytes), taken);
        bytes += taken;
        count -= size_t(taken);
        if (chunk.size() == chunkFrame + mostInChunk)
            writeChunk();
    }
}

void PngWriter::State::writeChunk()
{
    seal(chunk, "IDAT");
    if (kept.height > 0)
        unwritten += chunk;
    else
        put(chunk);
    chunk.resize(chunkFrame);
}

void PngWriter::State::addRow(const quint32 *words)
{
    kernels.pack(rows[++inGroup].data() + before, words, header.width, channels);
    if (inGroup == rowsInGroup)
        filterGroup();
}

void PngWriter::State::filterGroup()
{
    const int bytes = int(bytesInRow);
    const uchar *group[rowsInGroup + 1];
    for (int i = 0; i <= inGroup; ++i)
        group[i] = rows[i].data() + before;
    const int filter = kernels.chooseFilter(group, inGroup, bytes, channels);
    for (int i = 1; i <= inGroup; ++i) {
        uchar *to = deflater.room() + filtered;
        *to++ = uchar(filter);
        kernels.filter(filter, to, group[i], group[i - 1], bytes, channels);
        filtered += bytesInRow + 1;
    }
    std::swap(rows[0], rows[inGroup]);
    inGroup = 0;
    if (filtered >= filteredPerStep)
        deflater.add(std::exchange(filtered, 0));
}

bool PngWriter::State::append(const QImage &image)
{
    m_well = m_well && image.width() == header.width && image.height() <= header.height.value_or(INT_MAX) - height;
    // The fourth byte of RGB32 is undefined.
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

// Whatever follows what has been written so far.
void PngWriter::State::putEnd()
{
    if (inGroup > 0)
        filterGroup();
    deflater.add(filtered);
    deflater.finish();
    if (chunk.size() > chunkFrame)
        writeChunk();
    put(std::exchange(unwritten, {}) + sealed("IEND", {}));
}

// The device stays at its position.
bool PngWriter::State::putHeight(int count)
{
    const qint64 end = out.pos();
    m_well = m_well && out.seek(start + 8);
    put(headerChunk(header, count));
    return m_well = m_well && out.seek(end);
}

bool PngWriter::State::keep(const QImage &more)
{
    QBuffer end;
    end.open(QIODevice::WriteOnly);
    State copy(*this, end);
    m_well = m_well && !header.height && (more.isNull() || copy.append(more));
    copy.putEnd();
    if (!m_well)
        return false;
    Kept next{out.pos() + unwritten.size(), end.data(), copy.height};
    if (!put(unwritten + next.end) || !putHeight(next.height))
        return false;
    unwritten.clear();
    kept = std::move(next);
    return m_well = out.seek(kept.at);
}

int PngWriter::State::fallBack()
{
    m_well = kept.height > 0 && out.seek(kept.at);
    put(kept.end);
    putHeight(kept.height);
    return std::exchange(m_well, false) ? kept.height : 0;
}

bool PngWriter::State::finish()
{
    m_well = m_well && height > 0 && (!header.height || height == *header.height);
    putEnd();
    if (!header.height)
        putHeight(height);
    return std::exchange(m_well, false); // nothing may follow
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

bool PngWriter::keep(const QImage &rows)
{
    return m_state->keep(rows);
}

int PngWriter::fallBack()
{
    return m_state->fallBack();
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
    // In every 32-bit format alpha is the last byte in memory here, except in the rare A2 formats.
    if (pixels.format() == QImage::Format_A2RGB30_Premultiplied ||
        pixels.format() == QImage::Format_A2BGR30_Premultiplied)
        return false;
    for (int y = 0; y < pixels.height(); ++y) {
        if (!allOpaque(pixels.constScanLine(y), pixels.width()))
            return false;
    }
    return true;
}

static bool writeTo(QIODevice &out, const Image &image)
{
    PngWriter::Header header;
    header.width = image.pixels.width();
    header.height = image.pixels.height();
    header.dpi = 72 * qMax(1.0, std::round(image.scale()));
    header.opaque = isOpaque(image.pixels);
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
    return writeTo(file, image) ? DiskSync::commit(file) : Outcome::failure(file.errorString());
}

Outcome PngWriter::writeNew(const QString &path, const Image &image)
{
    if (image.isNull())
        return Outcome::failure(QStringLiteral("no picture"));
    // Has no name until it is renamed, where the file system knows such files: nothing is left after a crash.
    QTemporaryFile file(path + QStringLiteral(".XXXXXX"));
    if (!file.open())
        return Outcome::failure(file.errorString());
    const mode_t mask = umask(0); // the only way to read it
    umask(mask);
    if (!writeTo(file, image) || !file.flush())
        return Outcome::failure(file.errorString());
    if (fchmod(file.handle(), 0666 & ~mask) != 0 || !DiskSync::content(file.handle()))
        return Outcome::failure(qt_error_string(errno));
    if (!file.rename(path))
        return Outcome::failure(file.errorString());
    file.setAutoRemove(false);
    DiskSync::names(path);
    return Outcome::success();
}

QByteArray PngWriter::encode(const Image &image)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    return !image.isNull() && writeTo(buffer, image) ? buffer.data() : QByteArray();
}

} // namespace qm

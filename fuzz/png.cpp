// A libFuzzer target: any bytes read as PNG give libpng's pixels or libpng's refusal, by the lane with SIMD and without.
// The mutator works inside the chunks, the deflated data included, and puts every checksum right again; bytes as they
// come would seldom get past the first one. See fuzz/run.

#include "imaging/PngKernels.h"
#include "imaging/PngReader.h"
#include "tests/support/PngForge.h"
#include "tests/support/PngReference.h"

#include <QBuffer>
#include <QFile>

#include <zlib.h>

#include <cstdlib>

using namespace qm;

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t maxSize);

namespace {

constexpr qint64 mostPixels = 1 << 18; // larger pictures only slow the search down

class Rows : public RowSink
{
public:
    bool begin(const PictureHeader &header) override
    {
        rows = 0;
        tooLarge = qint64(header.size.width()) * header.size.height() > mostPixels;
        if (tooLarge)
            return false;
        pixels = QImage(header.rows, header.format);
        pixels.fill(0);
        return true;
    }
    bool add(const uchar *row) override
    {
        std::memcpy(pixels.scanLine(rows++), row, size_t(pixels.width()) * size_t(pixels.depth()) / 8);
        return true;
    }
    bool addWhole(const QImage &) override { return false; }

    QImage pixels;
    int rows = 0;
    bool tooLarge = false;
};

void check(bool holds)
{
    if (!holds)
        std::abort();
}

void compare(const QByteArray &file, const PngReference &wanted, const PngKernels &kernels, bool &tooLarge)
{
    PngKernels::use(&kernels);
    QBuffer buffer;
    buffer.setData(file);
    buffer.open(QIODevice::ReadOnly);
    Rows got;
    const Decoded decoded = PngReader::read(buffer, PngReader::Depth::file, got);
    tooLarge = got.tooLarge;
    if (tooLarge)
        return;
    check((decoded == Decoded::nothing) == wanted.refused);
    if (wanted.refused)
        return;
    const int height = wanted.pixels.height();
    check((decoded == Decoded::whole) == (wanted.wholeRows == height));
    if (wanted.wholeRows > 0 && wanted.wholeRows < height)
        check(got.rows == wanted.wholeRows);
    const int rows = wanted.wholeRows > 0 ? wanted.wholeRows : height; // a cut interlaced picture: the colours of all
    const QImage ours = got.pixels.convertToFormat(wanted.pixels.format());
    const bool alpha = wanted.wholeRows > 0 || got.pixels.hasAlphaChannel();
    const int step = wanted.pixels.depth() / 8;
    for (int y = 0; y < rows; ++y) {
        const uchar *a = ours.constScanLine(y), *b = wanted.pixels.constScanLine(y);
        for (int x = 0; x < ours.width(); ++x, a += step, b += step)
            check(std::memcmp(a, b, size_t(alpha ? step : step * 3 / 4)) == 0);
    }
}

// The deflated content with something changed inside, its own checksum right again.
QByteArray mutatedStream(const QByteArray &stream, unsigned seed)
{
    QByteArray raw(1 << 20, Qt::Uninitialized);
    z_stream inflater{};
    inflateInit(&inflater);
    inflater.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(stream.constData()));
    inflater.avail_in = uInt(stream.size());
    inflater.next_out = reinterpret_cast<Bytef *>(raw.data());
    inflater.avail_out = uInt(raw.size());
    inflate(&inflater, Z_FINISH);
    raw.resize(qsizetype(inflater.total_out));
    inflateEnd(&inflater);
    if (raw.isEmpty())
        return stream;
    if (seed % 3 == 0) { // other filters and residuals
        QByteArray room = raw + QByteArray(64, '\0');
        const size_t size =
            LLVMFuzzerMutate(reinterpret_cast<uint8_t *>(room.data()), size_t(raw.size()), size_t(room.size()));
        return PngForge::deflated(room.left(qsizetype(size)), int(seed / 3 % 10));
    }
    // Other codes for whatever they come out as: the checksum follows what zlib makes of them.
    QByteArray changed = stream;
    LLVMFuzzerMutate(reinterpret_cast<uint8_t *>(changed.data()) + 2, size_t(qMax<qsizetype>(0, changed.size() - 6)),
                     size_t(qMax<qsizetype>(0, changed.size() - 6)));
    QByteArray out(1 << 20, Qt::Uninitialized);
    z_stream again{};
    inflateInit(&again);
    again.next_in = reinterpret_cast<Bytef *>(changed.data());
    again.avail_in = uInt(changed.size());
    again.next_out = reinterpret_cast<Bytef *>(out.data());
    again.avail_out = uInt(out.size());
    inflate(&again, Z_FINISH);
    const uLong sum = adler32(1, reinterpret_cast<const Bytef *>(out.constData()), uInt(again.total_out));
    const qsizetype end = qsizetype(again.total_in);
    inflateEnd(&again);
    if (end < 6 || end > changed.size())
        return changed;
    for (int i = 0; i < 4; ++i)
        changed[end - 4 + i] = char(sum >> (24 - 8 * i));
    return changed;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const auto file = QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    PngReference wanted;
    bool known = false;
    for (const PngKernels *kernels : {&PngKernels::portable(), &PngKernels::best()}) {
        bool tooLarge = false;
        if (!known) {
            Rows probe;
            QBuffer buffer;
            buffer.setData(file);
            buffer.open(QIODevice::ReadOnly);
            PngReader::read(buffer, PngReader::Depth::eight, probe);
            if (probe.tooLarge)
                return 0;
            wanted = PngReference::read(file);
            known = true;
        }
        compare(file, wanted, *kernels, tooLarge);
    }
    PngKernels::use(nullptr);
    return 0;
}

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t maxSize, unsigned seed)
{
    if (seed % 8 == 0)
        return LLVMFuzzerMutate(data, size, maxSize);
    const QByteArray file(reinterpret_cast<const char *>(data), qsizetype(size));
    const QList<qsizetype> starts = PngForge::chunkStarts(file);
    if (starts.isEmpty())
        return LLVMFuzzerMutate(data, size, maxSize);
    QByteArray out = file.left(8), stream;
    const int chosen = int(seed / 8 % unsigned(starts.size()));
    for (int i = 0; i < starts.size(); ++i) {
        const qsizetype end = i + 1 < starts.size() ? starts[i + 1] : file.size();
        const QByteArray type = file.mid(starts[i] + 4, 4);
        QByteArray content = file.mid(starts[i] + 8, qMax<qsizetype>(0, end - starts[i] - 12));
        const bool image = type == "IDAT";
        if (image && seed % 2) { // all of them together, split anew
            stream += content;
            const bool last = i + 1 == starts.size() || file.mid(starts[i + 1] + 4, 4) != "IDAT";
            if (!last)
                continue;
            stream = mutatedStream(stream, seed / 2);
            const qsizetype step = seed % 5 == 0 ? 7 : qMax<qsizetype>(1, stream.size());
            for (qsizetype at = 0; at < stream.size(); at += step)
                out += PngForge::chunk("IDAT", stream.mid(at, step));
            continue;
        }
        if (i == chosen) {
            QByteArray room = content + QByteArray(32, '\0');
            const size_t length =
                LLVMFuzzerMutate(reinterpret_cast<uint8_t *>(room.data()), size_t(content.size()), size_t(room.size()));
            content = room.left(qsizetype(length));
        }
        out += PngForge::chunk(type, content);
    }
    if (size_t(out.size()) > maxSize)
        return LLVMFuzzerMutate(data, size, maxSize);
    std::memcpy(data, out.constData(), size_t(out.size()));
    return size_t(out.size());
}

// Fills an empty corpus folder, named by FUZZ_SEEDS, with the seeds the unit tests use.
extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    const QString folder = qEnvironmentVariable("FUZZ_SEEDS");
    if (folder.isEmpty())
        return 0;
    int count = 0;
    const auto keep = [&](const QByteArray &content) {
        QFile file(folder + QStringLiteral("/seed-%1").arg(count++));
        if (file.open(QIODevice::WriteOnly))
            file.write(content);
    };
    const auto odd = PngForge::oddities();
    for (const auto &[name, content] : odd)
        keep(content);
    for (int width = 1; width <= 70; ++width) {
        for (const int colourType : {2, 6})
            keep(PngForge::file({.width = width, .height = 7, .colourType = colourType, .seed = quint32(width)}));
    }
    for (const int colourType : {0, 2, 3, 4, 6}) {
        for (const bool interlaced : {false, true})
            keep(PngForge::file(
                {.width = 13, .height = 11, .bitDepth = 8, .colourType = colourType, .interlaced = interlaced}));
    }
    return 0;
}

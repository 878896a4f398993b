// A libFuzzer target: any bytes read as PNG give libpng's pixels or libpng's refusal, by the lane with SIMD and without.
// The mutator works inside the chunks, the deflated data included, and puts every checksum right again; bytes as they
// come would seldom get past the first one. See fuzz/run.

#include "imaging/PngKernels.h"
#include "tests/imaging/PngComparison.h"
#include "tests/support/PngForge.h"

#include <QFile>
#include <QRandomGenerator>

#include <zlib.h>

#include <cstdlib>

using namespace qm;

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t maxSize);

static QByteArray mutated(QByteArray bytes, int room)
{
    const qsizetype before = bytes.size();
    bytes += QByteArray(room, '\0');
    return bytes.left(
        qsizetype(LLVMFuzzerMutate(reinterpret_cast<uint8_t *>(bytes.data()), size_t(before), size_t(bytes.size()))));
}

// The deflated content with something changed inside, its own checksum right again.
static QByteArray mutatedStream(const QByteArray &stream, unsigned seed)
{
    constexpr qsizetype most = 1 << 20;
    const QByteArray raw = PngForge::inflated(stream, most).raw;
    if (raw.isEmpty())
        return stream;
    if (seed % 3 == 0) // other filters and residuals
        return PngForge::deflated(mutated(raw, 64), int(seed / 3 % 10));
    // Other codes for whatever they come out as: the checksum follows what zlib makes of them.
    QByteArray changed = stream.left(2) + mutated(stream.mid(2).chopped(qMin<qsizetype>(4, stream.size() - 2)), 0);
    changed += QByteArray(4, '\0');
    const PngForge::Inflated out = PngForge::inflated(changed, most);
    const uLong sum = adler32(1, reinterpret_cast<const Bytef *>(out.raw.constData()), uInt(out.raw.size()));
    for (int i = 0; i < 4 && out.taken >= 6; ++i)
        changed[out.taken - 4 + i] = char(sum >> (24 - 8 * i));
    return changed;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const auto file = QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    PngRows probe;
    probe.mostPixels = 1 << 18; // larger pictures only slow the search down
    probe.read(file);
    if (probe.tooLarge())
        return 0;
    for (const PngKernels *kernels : {&PngKernels::portable(), &PngKernels::best()}) {
        PngKernels::use(kernels);
        if (!differenceFromLibpng(file, PngReader::Lane::whereItFits).isEmpty())
            std::abort();
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
        if (i == chosen)
            content = mutated(content, 32);
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
    QRandomGenerator random(1);
    for (int i = 0; i < 300; ++i) {
        const PngForge::Picture picture = PngForge::anyPicture(random);
        keep(i % 2 ? PngForge::file(picture) : PngForge::damagedFile(picture, random));
    }
    return 0;
}

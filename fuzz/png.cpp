// A libFuzzer target: whatever is read as PNG gives libpng's pixels or libpng's refusal, by the lane with SIMD and without.
// The input is a picture's content and what is made of it; every checksum is then put right, as bytes that came as a file
// would seldom get past the first one. Files that are wrong as files are PngForge's part.

#include "imaging/PngKernels.h"
#include "tests/imaging/PngComparison.h"
#include "tests/support/PngForge.h"

#include <QFile>
#include <QRandomGenerator>
#include <QtEndian>

#include <zlib.h>

#include <cstdlib>

using namespace qm;

enum Content : uchar { rows, stream, damage };
static constexpr size_t choices = 7;

// Bytes: what the rest is, the picture's random seed (4), the length of IDAT chunks (2); then filter numbers and residuals, or
// a deflated stream.
static QByteArray pictureOf(const QByteArray &input)
{
    constexpr qsizetype most = 1 << 20;
    QRandomGenerator random(qFromLittleEndian<quint32>(input.constData() + 1));
    PngForge::Picture picture = PngForge::anyPicture(random);
    picture.idatLength = qFromLittleEndian<quint16>(input.constData() + 5);
    QByteArray rest = input.mid(choices);
    if (input[0] % 4 == damage)
        return PngForge::damagedFile(picture, random);
    if (input[0] % 4 == rows)
        return PngForge::file(picture, {}, PngForge::deflated(rest, picture.level));
    // The stream's own checksum follows what zlib makes of it.
    const PngForge::Inflated out = PngForge::inflated(rest, most);
    const uLong sum = adler32(1, reinterpret_cast<const Bytef *>(out.raw.constData()), uInt(out.raw.size()));
    for (int i = 0; i < 4 && out.taken >= 6; ++i)
        rest[out.taken - 4 + i] = char(sum >> (24 - 8 * i));
    return PngForge::file(picture, {}, rest);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < choices)
        return 0;
    const QByteArray file = pictureOf(QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)));
    for (const PngKernels *kernels : {&PngKernels::portable(), &PngKernels::best()}) {
        PngKernels::use(kernels);
        if (!differenceFromLibpng(file, PngReader::Lane::whereItFits).isEmpty())
            std::abort();
    }
    PngKernels::use(nullptr);
    return 0;
}

// Fills an empty corpus folder, named by FUZZ_SEEDS, with whole pictures.
extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    const QString folder = qEnvironmentVariable("FUZZ_SEEDS");
    for (quint32 seed = 0; seed < 300 && !folder.isEmpty(); ++seed) {
        QRandomGenerator random(seed);
        const PngForge::Picture picture = PngForge::anyPicture(random);
        QByteArray input(choices, '\0');
        qToLittleEndian(seed, input.data() + 1);
        const QByteArray raw = PngForge::rows(picture);
        input[0] = char(seed % 2 ? stream : rows);
        QFile file(folder + QStringLiteral("/seed-%1").arg(seed));
        if (file.open(QIODevice::WriteOnly))
            file.write(input + (seed % 2 ? PngForge::deflated(raw, picture.level) : raw));
    }
    return 0;
}

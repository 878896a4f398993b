// A libFuzzer target: whatever is deflated, in steps of any size and whatever the distances of pixel and row, zlib inflates to
// the same bytes. The first bytes of the input choose these; the rest is widened, as short inputs seldom fill a block.

#include "tests/imaging/DeflaterDriver.h"
#include "tests/support/PngForge.h"

#include <cstdlib>

using namespace qm;

static QByteArray widened(const QByteArray &bytes, int times, int change)
{
    QByteArray out = bytes;
    for (int i = 1; i < times; ++i) { // repetitions with something else in between, at distances that vary
        QByteArray next = bytes.mid(i * change % qMax<qsizetype>(1, bytes.size()));
        if (!next.isEmpty())
            next[i * 31 % next.size()] = char(i * change);
        out += next;
    }
    return out;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    constexpr size_t choices = 8;
    if (size < choices)
        return 0;
    const int pixel = 1 + data[0] % 8;
    const qint64 row = pixel + (data[1] | data[2] << 8);
    const qsizetype step = 1 + (data[3] | data[4] << 8);
    const QByteArray bytes =
        widened(QByteArray(reinterpret_cast<const char *>(data + choices), qsizetype(size - choices)),
                1 + (data[5] | (data[6] & 1) << 8), data[7]);

    const QByteArray stream = deflatedInSteps(bytes, pixel, row, step);
    const PngForge::Inflated back = PngForge::inflated(stream, bytes.size());
    if (!back.whole || back.taken != stream.size() || back.raw != bytes)
        std::abort();
    return 0;
}

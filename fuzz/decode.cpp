// A libFuzzer target: no picture makes its decoders hold more than DecodeBudget has, whatever its few bytes claim. The input is
// a file of any format; checksums of PNG are put right.

#include "imaging/DecodeBudget.h"
#include "imaging/ImageFile.h"
#include "imaging/Thumbnailer.h"
#include "tests/support/PngForge.h"

#include <QBuffer>
#include <QDir>
#include <QGuiApplication>
#include <QImageWriter>
#include <QRandomGenerator>
#include <QTemporaryFile>
#include <QtEndian>

#include <zlib.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>

using namespace qm;

// GCC comes without sanitizer/allocator_interface.h.
extern "C" size_t __sanitizer_get_current_allocated_bytes();
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*)(const volatile void *, size_t),
                                                         void (*)(const volatile void *));

static constexpr qint64 mostPixelsKept = 4'000'000; // a picture that comes by rows takes as much as it shows

static std::atomic<size_t> peak;

static void noteMalloc(const volatile void *, size_t)
{
    const size_t now = __sanitizer_get_current_allocated_bytes();
    for (size_t before = peak; now > before && !peak.compare_exchange_weak(before, now);) {
    }
}

static void noteFree(const volatile void *) {}

template<class Work>
static void bounded(const char *what, const Work &work)
{
    const size_t before = __sanitizer_get_current_allocated_bytes();
    peak = before;
    const qint64 kept = work();
    const qint64 taken = qint64(peak - before) - kept;
    if (taken > DecodeBudget::shared().all()) {
        std::fprintf(stderr, "%s took %lld MB\n", what, (long long)(taken >> 20));
        std::abort();
    }
}

static void putChecksumsRight(QByteArray &png)
{
    for (const qsizetype start : PngForge::chunkStarts(png)) {
        const qsizetype length = qFromBigEndian<quint32>(png.constData() + start);
        if (start + 12 + length > png.size())
            return;
        const uLong sum = crc32(0, reinterpret_cast<const Bytef *>(png.constData() + start + 4), uInt(length + 4));
        qToBigEndian(quint32(sum), png.data() + start + 8 + length);
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    if (bytes.startsWith("\x89PNG\r\n\x1a\n"))
        putChecksumsRight(bytes);
    static QTemporaryFile &file = *new QTemporaryFile;
    if ((!file.isOpen() && !file.open()) || !file.resize(0) || !file.seek(0) || file.write(bytes) != bytes.size() ||
        !file.flush())
        std::abort();
    bounded("a thumbnail", [] { return Thumbnailer::make(file.fileName(), 192).sizeInBytes(); });
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    const QSize shown = ImageFile::probe(buffer).value_or(QSize());
    buffer.seek(0);
    if (qint64(shown.width()) * shown.height() <= mostPixelsKept)
        bounded("a picture", [&] { return ImageFile::load(buffer).image.pixels.sizeInBytes(); });
    return 0;
}

static void keep(const QString &folder, const QByteArray &name, const QByteArray &bytes)
{
    QFile file(folder + u'/' + QString::fromLatin1(name));
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
}

static QByteArray written(const QImage &image, const char *format, int quality, bool progressive)
{
    QBuffer buffer;
    QImageWriter writer(&buffer, format);
    writer.setQuality(quality);
    writer.setProgressiveScanWrite(progressive);
    return writer.write(image) ? buffer.data() : QByteArray();
}

// Fills an empty corpus folder, named by FUZZ_SEEDS, with small pictures of every format and kind.
static void fill(const QString &folder)
{
    for (quint32 seed = 0; seed < 40; ++seed) {
        QRandomGenerator random(seed);
        keep(folder, "png-" + QByteArray::number(seed), PngForge::file(PngForge::anyPicture(random)));
    }
    QImage image(60, 40, QImage::Format_ARGB32);
    for (int i = 0; i < 60 * 40; ++i)
        image.setPixel(i % 60, i / 60, QRgb(i) * 0x02040103u);
    for (const char *format : {"jpg", "webp", "tiff"}) {
        for (const int quality : {50, 100}) {
            keep(folder, format + QByteArray::number(quality), written(image, format, quality, false));
            keep(folder, format + QByteArray::number(quality) + "-grey",
                 written(image.convertToFormat(QImage::Format_Grayscale8), format, quality, true));
            keep(folder, format + QByteArray::number(quality) + "-more",
                 written(image.convertToFormat(QImage::Format_RGB32), format, quality, true));
        }
    }
    // Few bytes that ask for much.
    keep(folder, "png-large",
         PngForge::file({.width = 1500, .height = 1500, .interlaced = true}, {},
                        PngForge::deflated(QByteArray(1500, 0), 9)));
    QByteArray jpeg = written(image, "jpg", 50, true);
    jpeg.replace(jpeg.indexOf("\xff\xc2") + 5, 4, "\x05\xdc\x05\xdc");
    keep(folder, "jpg-large", jpeg);
    for (const QFileInfo &kept : QDir(QStringLiteral("tests/data/formats")).entryInfoList(QDir::Files))
        QFile::copy(kept.filePath(), folder + u'/' + kept.fileName());
}

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    new QGuiApplication(*argc, *argv); // its plugins read some of the formats
    __sanitizer_install_malloc_and_free_hooks(&noteMalloc, &noteFree);
    const QString folder = qEnvironmentVariable("FUZZ_SEEDS");
    if (!folder.isEmpty())
        fill(folder);
    return 0;
}

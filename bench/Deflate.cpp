// What deflating the filtered rows of pictures costs and gives: ours, libdeflate's and igzip's, on the same bytes. Folders of
// pictures may be given; by default real windows of the documentation, the tests' screenshots, and the rendered scenes.

#include "bench/Measure.h"
#include "bench/Rendered.h"
#include "imaging/Deflater.h"
#include "imaging/PngWriter.h"

#include <QDir>
#include <QGuiApplication>
#include <QtEndian>

#include <isa-l/igzip_lib.h>
#include <libdeflate.h>

#include <cstdio>
#include <cstring>
#include <vector>

using namespace qm;

static constexpr int rounds = 5;
static constexpr qsizetype mostAtOnce = 65536;

namespace {

struct Rows {
    QByteArray filtered; // as the PNG writer hands them to the deflater
    int pixel = 0;       // bytes
    qint64 row = 0;
};

struct Way {
    const char *name;
    std::function<size_t(const Rows &, std::vector<uchar> &room)> deflate; // bytes written
    double seconds = 0, bytes = 0;
};

} // namespace

static Rows rowsOf(const QImage &image)
{
    const QByteArray png = PngWriter::encode({image, image.size()});
    QByteArray packed;
    for (qsizetype at = 8; at + 12 <= png.size();) {
        const quint32 length = qFromBigEndian<quint32>(png.constData() + at);
        if (png.mid(at + 4, 4) == "IDAT")
            packed += png.mid(at + 8, length);
        at += 12 + qsizetype(length);
    }
    Rows rows;
    rows.pixel = png.at(25) == 6 ? 4 : 3; // colour type
    rows.row = 1 + qint64(image.width()) * rows.pixel;
    rows.filtered.resize(rows.row * image.height());
    libdeflate_decompressor *inflater = libdeflate_alloc_decompressor();
    if (libdeflate_zlib_decompress(inflater, packed.constData(), size_t(packed.size()), rows.filtered.data(),
                                   size_t(rows.filtered.size()), nullptr) != LIBDEFLATE_SUCCESS)
        qFatal("not a picture of ours");
    libdeflate_free_decompressor(inflater);
    return rows;
}

static size_t deflatedByUs(const Rows &rows, std::vector<uchar> &room)
{
    size_t written = 0;
    Deflater deflater(rows.pixel, rows.row, size_t(mostAtOnce), [&](const uchar *bytes, size_t count) {
        std::memcpy(room.data() + written, bytes, count);
        written += count;
    });
    for (qsizetype at = 0; at < rows.filtered.size(); at += mostAtOnce) {
        const size_t count = size_t(qMin(mostAtOnce, rows.filtered.size() - at));
        std::memcpy(deflater.room(), rows.filtered.constData() + at, count);
        deflater.add(count);
    }
    deflater.finish();
    return written;
}

static Way libdeflateAt(const char *name, int level)
{
    const std::shared_ptr<libdeflate_compressor> deflater(libdeflate_alloc_compressor(level),
                                                          &libdeflate_free_compressor);
    return {name, [deflater](const Rows &rows, std::vector<uchar> &room) {
                return libdeflate_zlib_compress(deflater.get(), rows.filtered.constData(), size_t(rows.filtered.size()),
                                                room.data(), room.size());
            }};
}

static Way igzip()
{
    return {"igzip 1",
            [tables = std::vector<uchar>(ISAL_DEF_LVL1_DEFAULT)](const Rows &rows, std::vector<uchar> &room) {
                isal_zstream stream;
                isal_deflate_stateless_init(&stream);
                stream.level = 1;
                stream.level_buf = const_cast<uchar *>(tables.data());
                stream.level_buf_size = uint32_t(tables.size());
                stream.gzip_flag = IGZIP_ZLIB;
                stream.end_of_stream = 1;
                stream.next_in = reinterpret_cast<uchar *>(const_cast<char *>(rows.filtered.constData()));
                stream.avail_in = uint32_t(rows.filtered.size());
                stream.next_out = room.data();
                stream.avail_out = uint32_t(room.size());
                return isal_deflate_stateless(&stream) == COMP_OK ? size_t(stream.total_out) : size_t(0);
            }};
}

static void report(const QString &name, const QList<QImage> &pictures)
{
    std::vector<Way> ways = {
        {"ours", &deflatedByUs}, libdeflateAt("libdeflate 1", 1), libdeflateAt("libdeflate 4", 4), igzip()};
    for (const QImage &picture : pictures) {
        const Rows rows = rowsOf(picture);
        std::vector<uchar> room(size_t(rows.filtered.size()) * 2 + 65536);
        std::vector<double> best(ways.size(), 1e9);
        for (int round = 0; round < rounds; ++round) { // in turn: a slow moment of the machine meets all of them
            for (size_t i = 0; i < ways.size(); ++i) {
                size_t bytes = 0;
                best[i] = qMin(best[i], bench::bestOf(1, [&] { bytes = ways[i].deflate(rows, room); }));
                if (round == 0)
                    ways[i].bytes += double(bytes);
            }
        }
        for (size_t i = 0; i < ways.size(); ++i)
            ways[i].seconds += best[i];
    }
    std::printf("%-24s ours %7.1f ms %6.2f MB", qPrintable(name), ways[0].seconds * 1e3, ways[0].bytes / (1 << 20));
    for (size_t i = 1; i < ways.size(); ++i)
        std::printf(" | %s: time %.2f, size %.2f of ours", ways[i].name, ways[i].seconds / ways[0].seconds,
                    ways[i].bytes / ways[0].bytes);
    std::printf("\n");
    std::fflush(stdout);
}

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    QStringList folders = application.arguments().mid(1);
    const bool all = folders.isEmpty();
    if (all)
        folders = {QStringLiteral(QM_SOURCES "/docs/pictures"), QStringLiteral(QM_SOURCES "/tests/data")};
    for (const QString &folder : std::as_const(folders)) {
        QList<QImage> pictures;
        const QFileInfoList files = QDir(folder).entryInfoList({QStringLiteral("*.png")}, QDir::Files);
        for (const QFileInfo &file : files)
            pictures.append(QImage(file.filePath()));
        report(QDir(folder).dirName(), pictures);
    }
    if (all) {
        report(QStringLiteral("scene 2880x1800 RGB"), {bench::renderedDesktop({2880, 1800})});
        report(QStringLiteral("scene 2880x1800 RGBA"), {bench::renderedDesktop({2880, 1800}, true)});
        report(QStringLiteral("photo 4000x3000"), {bench::renderedPhoto({4000, 3000})});
    }
    return 0;
}

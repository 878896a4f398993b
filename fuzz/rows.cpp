// A libFuzzer target: a decoder that was taken over by a picture cannot make this process keep more than its header announced.
// The input is what it writes to its pipe.

#include "imaging/DecodeBudget.h"
#include "imaging/RowStream.h"

#include <QBuffer>
#include <QFile>

#include <cstdlib>

using namespace qm;

namespace {

class Counting : public RowSink
{
public:
    bool begin(const PictureHeader &header) override
    {
        m_header = header;
        m_rows = 0;
        const qint64 pixels = qint64(header.size.width()) * header.size.height();
        return pixels < 1'000'000 && qMax(header.decoding, header.delivering) < DecodeBudget::shared().all() / 16;
    }
    bool add(const uchar *row) override
    {
        const qint64 bytes = PictureHeader::bytes({m_header.rows.width(), 1}, m_header.format);
        for (qint64 i = 0; i < bytes; ++i)
            m_sum += row[i]; // for the sanitizer to look at
        if (++m_rows > m_header.rows.height() || bytes > m_header.delivering)
            std::abort();
        return true;
    }
    bool addWhole(const QImage &image) override
    {
        const QImage colours = image.convertToFormat(QImage::Format_ARGB32);
        if (image.size() != m_header.rows || image.sizeInBytes() > m_header.whole || colours.isNull())
            std::abort();
        return true;
    }

private:
    PictureHeader m_header;
    int m_rows = 0;
    quint32 m_sum = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    QBuffer pipe(&bytes);
    pipe.open(QIODevice::ReadOnly);
    Counting sink;
    RowStream::read(pipe, sink);
    return 0;
}

// Fills an empty corpus folder, named by FUZZ_SEEDS, with a picture of each kind.
extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    const QString folder = qEnvironmentVariable("FUZZ_SEEDS");
    for (const QImage::Format format : {QImage::Format_RGBA8888, QImage::Format_Indexed8, QImage::Format_RGB32}) {
        QFile file(folder + QStringLiteral("/picture-%1").arg(format));
        if (folder.isEmpty() || !file.open(QIODevice::WriteOnly))
            continue;
        const bool byRows = format == QImage::Format_RGBA8888;
        RowStream::Writer writer(file);
        writer.begin({.size = {3, 2},
                      .rows = {3, 2},
                      .format = byRows ? format : QImage::Format_Invalid,
                      .colorSpace = {},
                      .delivering = 100,
                      .whole = 24});
        const QImage image(3, 2, format);
        for (int y = 0; byRows && y < 2; ++y)
            writer.add(image.constScanLine(y));
        if (!byRows)
            writer.addWhole(image);
        writer.end(Decoded::whole);
    }
    return 0;
}

#include "imaging/ExifTags.h"

#include <QBuffer>
#include <QHash>
#include <QtEndian>

namespace qm {

namespace {

enum Tag {
    widthTag = 0x0100,
    heightTag = 0x0101,
    bitsTag = 0x0102, // of a sample
    orientationTag = 0x0112,
    samplesTag = 0x0115,
    rowsTag = 0x0116, // of a strip
    resolutionTag = 0x011a,
    unitTag = 0x0128,
    tileWidthTag = 0x0142,
    tileHeightTag = 0x0143
};
enum Type { shortType = 3, longType = 4, rationalType = 5 };
constexpr int centimetre = 3;
constexpr double centimetresPerInch = 2.54;
constexpr int mostEntries = 4096; // as in libtiff; real directories have a few dozen

class Directory
{
public:
    explicit Directory(QIODevice &file)
        : m_file(file)
    {
    }

    ExifTags read()
    {
        const QByteArray order = bytes(0, 2);
        m_little = order == "II";
        if ((!m_little && order != "MM") || number<quint16>(2) != 42)
            return {};
        const quint32 start = number<quint32>(4);
        const int entries = qMin<int>(number<quint16>(start), mostEntries);
        ExifTags tags;
        double resolution = 0;
        int unit = 2;
        QHash<int, quint32> sizes{{rowsTag, 0}, {bitsTag, 1}, {samplesTag, 1}};
        bool plain = true;
        for (int i = 0; i < entries; ++i) {
            const qint64 entry = qint64(start) + 2 + 12 * i;
            const int tag = number<quint16>(entry), type = number<quint16>(entry + 2);
            if (tag == orientationTag && type == shortType)
                tags.orientation = number<quint16>(entry + 8);
            else if (tag == unitTag && type == shortType)
                unit = number<quint16>(entry + 8);
            else if (tag == resolutionTag && type == rationalType)
                resolution = rational(number<quint32>(entry + 8));
            else if (tag == widthTag || tag == heightTag || tag == bitsTag || tag == samplesTag || tag == rowsTag ||
                     tag == tileWidthTag || tag == tileHeightTag) {
                plain = plain && (type == shortType || type == longType);
                sizes[tag] = qMax(sizes[tag], firstOf(entry)); // of a tag that is there twice
            }
        }
        if (tags.orientation < 1 || tags.orientation > 8)
            tags.orientation = 1;
        if (resolution > 0 && (unit == 2 || unit == centimetre))
            tags.dpi = unit == centimetre ? resolution * centimetresPerInch : resolution;
        const double height = sizes[heightTag], rows = sizes[rowsTag] ? qMin<double>(sizes[rowsTag], height) : height;
        const double tile = double(sizes[tileWidthTag]) * sizes[tileHeightTag];
        if (plain)
            tags.pieceBytes = qMax(tile, sizes[widthTag] * rows) * sizes[bitsTag] * sizes[samplesTag] / 8;
        return tags;
    }

private:
    // A number, or the first of several, which stand elsewhere if there are too many.
    quint32 firstOf(qint64 entry)
    {
        const bool isShort = number<quint16>(entry + 2) == shortType;
        const qint64 at =
            number<quint32>(entry + 4) * (isShort ? 2.0 : 4.0) > 4 ? number<quint32>(entry + 8) : entry + 8;
        return isShort ? number<quint16>(at) : number<quint32>(at);
    }

    QByteArray bytes(qint64 at, int count)
    {
        return at + count <= m_file.size() && m_file.seek(at) ? m_file.read(count) : QByteArray();
    }

    template<class Number>
    Number number(qint64 at)
    {
        const QByteArray stored = bytes(at, sizeof(Number));
        if (stored.size() != sizeof(Number))
            return 0;
        return m_little ? qFromLittleEndian<Number>(stored.constData()) : qFromBigEndian<Number>(stored.constData());
    }

    double rational(qint64 at)
    {
        const quint32 denominator = number<quint32>(at + 4);
        return denominator ? double(number<quint32>(at)) / denominator : 0;
    }

    QIODevice &m_file;
    bool m_little = false;
};

} // namespace

ExifTags ExifTags::parse(QIODevice &file)
{
    const ExifTags tags = Directory(file).read();
    file.seek(0);
    return tags;
}

ExifTags ExifTags::parse(const QByteArray &data)
{
    QByteArray structure = data.startsWith(QByteArray("Exif\0\0", 6)) ? data.sliced(6) : data;
    QBuffer buffer(&structure);
    buffer.open(QIODevice::ReadOnly);
    return parse(buffer);
}

} // namespace qm

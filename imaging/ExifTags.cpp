#include "imaging/ExifTags.h"

#include <QBuffer>
#include <QtEndian>

namespace qm {

namespace {

enum Tag { orientationTag = 0x0112, resolutionTag = 0x011a, unitTag = 0x0128 };
enum Type { shortType = 3, rationalType = 5 };
constexpr int centimetre = 3;
constexpr double centimetresPerInch = 2.54;
constexpr int mostEntries = 512; // real directories have a few dozen

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
        for (int i = 0; i < entries; ++i) {
            const qint64 entry = qint64(start) + 2 + 12 * i;
            const int tag = number<quint16>(entry), type = number<quint16>(entry + 2);
            if (tag == orientationTag && type == shortType)
                tags.orientation = number<quint16>(entry + 8);
            else if (tag == unitTag && type == shortType)
                unit = number<quint16>(entry + 8);
            else if (tag == resolutionTag && type == rationalType)
                resolution = rational(number<quint32>(entry + 8));
        }
        if (tags.orientation < 1 || tags.orientation > 8)
            tags.orientation = 1;
        if (resolution > 0 && (unit == 2 || unit == centimetre))
            tags.dpi = unit == centimetre ? resolution * centimetresPerInch : resolution;
        return tags;
    }

private:
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

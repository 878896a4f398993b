#include "imaging/HeifStructure.h"

#include <QByteArrayView>
#include <QList>
#include <QMultiHash>

namespace qm {

namespace {

// Big-endian numbers one after the other; zeros beyond the end.
class Fields
{
public:
    explicit Fields(QByteArrayView bytes)
        : m_bytes(bytes)
    {
    }

    quint64 number(int bytes)
    {
        quint64 number = 0;
        for (; bytes > 0; --bytes)
            number = number << 8 | (left() > 0 ? uchar(m_bytes[m_at++]) : 0);
        return number;
    }
    QByteArrayView part(quint64 bytes)
    {
        const qsizetype count = qsizetype(qMin<quint64>(bytes, quint64(left())));
        m_at += count;
        return m_bytes.sliced(m_at - count, count);
    }
    qsizetype left() const { return m_bytes.size() - m_at; }

private:
    const QByteArrayView m_bytes;
    qsizetype m_at = 0;
};

// A parameter set's bits, without the bytes that keep start codes out of it.
class Bits
{
public:
    explicit Bits(QByteArrayView escaped)
    {
        constexpr qsizetype enough = 256; // up to the size
        int zeros = 0;
        for (const char byte : escaped.first(qMin(escaped.size(), enough))) {
            if (zeros < 2 || byte != 3)
                m_bytes += byte;
            zeros = byte == 0 ? zeros + 1 : 0;
        }
    }

    quint64 number(int bits)
    {
        quint64 number = 0;
        for (; bits > 0; --bits, ++m_at)
            number = number << 1 | (m_at / 8 < m_bytes.size() ? uchar(m_bytes[m_at / 8]) >> (7 - m_at % 8) & 1 : 0);
        return number;
    }
    quint64 golomb()
    {
        int zeros = 0;
        while (zeros < 32 && number(1) == 0)
            ++zeros;
        return (quint64(1) << zeros) - 1 + number(zeros);
    }
    void skip(int bits) { m_at += bits; }

private:
    QByteArray m_bytes;
    qsizetype m_at = 0;
};

enum Nal { firstKey = 16, lastKey = 21, lastOfPictures = 31, sequence = 33 };

struct Item {
    quint64 id = 0;
    bool inMeta = false; // in the box idat rather than anywhere in the file
    quint64 at = 0, bytes = 0;
    bool whole = true; // a single piece
};

class Structure
{
public:
    explicit Structure(QByteArrayView file)
        : m_file(file)
    {
        forEachBox(file, [this](QByteArrayView type, QByteArrayView content) {
            if (type == "meta")
                readMeta(content.sliced(qMin<qsizetype>(4, content.size())));
        });
    }

    std::optional<qint64> largest() const { return m_known ? std::optional(m_largest) : std::nullopt; }

private:
    template<class Visit>
    static void forEachBox(QByteArrayView boxes, Visit visit)
    {
        while (boxes.size() >= 8) {
            Fields fields(boxes);
            quint64 size = fields.number(4), header = 8;
            const QByteArrayView type = fields.part(4);
            if (size == 1) {
                size = fields.number(8);
                header = 16;
            }
            if (size == 0)
                size = quint64(boxes.size());
            if (size < header || size > quint64(boxes.size()))
                return;
            visit(type, boxes.sliced(qsizetype(header), qsizetype(size - header)));
            boxes = boxes.sliced(qsizetype(size));
        }
    }

    void readMeta(QByteArrayView meta)
    {
        QMultiHash<quint64, QByteArray> types;
        QList<Item> items;
        QByteArrayView inMeta;
        forEachBox(meta, [&](QByteArrayView type, QByteArrayView content) {
            if (type == "idat")
                inMeta = content;
            else if (type == "iloc")
                items += locations(content);
            else if (type == "iinf") // an empty list has no entries either way
                forEachBox(content.sliced(qMin<qsizetype>(content.startsWith('\0') ? 6 : 8, content.size())),
                           [&](QByteArrayView, QByteArrayView entry) {
                               Fields fields(entry);
                               const quint64 version = fields.number(4) >> 24;
                               const quint64 id = fields.number(version == 2 ? 2 : 4);
                               fields.number(2);
                               types.insert(id, fields.part(4).toByteArray());
                           });
        });
        for (qsizetype at = 0; (at = meta.indexOf("hvcC", at)) >= 0; at += 4)
            readConfiguration(meta.sliced(at + 4));
        for (const Item &item : items) {
            Fields source(item.inMeta ? inMeta : m_file);
            source.part(item.at);
            const QByteArrayView content = source.part(item.bytes ? item.bytes : quint64(source.left()));
            for (const QByteArray &type : types.values(item.id)) {
                if (type == "hvc1")
                    readPicture(content);
                else if (type == "grid")
                    readGrid(content);
                m_known =
                    m_known && type != "av01" && type != "iovl" && (item.whole || (type != "hvc1" && type != "grid"));
            }
        }
    }

    static QList<Item> locations(QByteArrayView content)
    {
        Fields fields(content);
        const quint64 version = fields.number(4) >> 24;
        const quint64 sizes = fields.number(2);
        const int offsetSize = int(sizes >> 12), lengthSize = sizes >> 8 & 15, baseSize = sizes >> 4 & 15;
        const int indexSize = version > 0 ? sizes & 15 : 0;
        QList<Item> items;
        for (quint64 count = fields.number(version < 2 ? 2 : 4); count > 0 && fields.left() > 0; --count) {
            Item item{.id = fields.number(version < 2 ? 2 : 4)};
            if (version > 0)
                item.inMeta = (fields.number(2) & 15) == 1;
            fields.number(2);
            const quint64 base = fields.number(baseSize);
            const quint64 pieces = fields.number(2);
            item.whole = pieces == 1;
            for (quint64 i = 0; i < pieces && fields.left() > 0; ++i) {
                fields.number(indexSize);
                item.at = base + fields.number(offsetSize);
                item.bytes = fields.number(lengthSize);
            }
            items << item;
        }
        return items;
    }

    void readConfiguration(QByteArrayView content)
    {
        Fields fields(content);
        fields.part(22);
        for (quint64 arrays = fields.number(1); arrays > 0; --arrays) {
            fields.number(1);
            for (quint64 units = fields.number(2); units > 0 && fields.left() > 0; --units)
                readUnit(fields.part(fields.number(2)));
        }
    }

    void readPicture(QByteArrayView content)
    {
        int pictures = 0;
        for (Fields fields(content); fields.left() > 4;) {
            const QByteArrayView unit = fields.part(fields.number(4));
            const int type = readUnit(unit);
            if (type <= lastOfPictures && unit.size() > 2) {
                pictures += uchar(unit[2]) >> 7; // the first part of one
                m_known = m_known && type >= firstKey && type <= lastKey;
            }
        }
        m_known = m_known && pictures <= 1;
    }

    // The unit's type.
    int readUnit(QByteArrayView unit)
    {
        const int type = unit.isEmpty() ? sequence + 1 : uchar(unit[0]) >> 1 & 63;
        if (type != sequence || unit.size() < 3)
            return type;
        Bits bits(unit.sliced(2));
        bits.skip(4);
        const int layers = int(bits.number(3)); // in time, apart from one
        bits.skip(1 + 88 + 8);
        const quint64 described = bits.number(layers ? 16 : 0);
        for (int i = 0; i < layers; ++i)
            bits.skip((described >> (15 - 2 * i) & 1 ? 88 : 0) + (described >> (14 - 2 * i) & 1 ? 8 : 0));
        bits.golomb();
        if (bits.golomb() == 3)
            bits.skip(1);
        const quint64 width = bits.golomb();
        note(width, bits.golomb());
        return type;
    }

    void readGrid(QByteArrayView content)
    {
        Fields fields(content);
        const int size = fields.number(2) & 1 ? 4 : 2; // a version and flags
        fields.number(2);
        const quint64 width = fields.number(size);
        note(width, fields.number(size));
    }

    void note(quint64 width, quint64 height)
    {
        constexpr quint64 most = 1 << 20; // more is not decoded by anyone
        m_largest = qMax(m_largest, qint64(qMin(width, most) * qMin(height, most)));
    }

    const QByteArrayView m_file;
    qint64 m_largest = 0;
    bool m_known = true;
};

} // namespace

std::optional<qint64> HeifStructure::largestPicture(const QByteArray &file)
{
    return Structure(file).largest();
}

} // namespace qm

#include "tests/support/PngForge.h"

#include <QRandomGenerator>
#include <QtEndian>

#include <zlib.h>

namespace qm {

static QByteArray number(quint32 value)
{
    value = qToBigEndian(value);
    return QByteArray(reinterpret_cast<const char *>(&value), 4);
}

static int channelsOf(int colourType)
{
    return colourType == 2 ? 3 : colourType == 6 ? 4 : colourType == 4 ? 2 : 1;
}

QByteArray PngForge::chunk(const QByteArray &type, const QByteArray &content)
{
    const QByteArray checked = type + content;
    return number(quint32(content.size())) + checked +
           number(quint32(crc32(0, reinterpret_cast<const Bytef *>(checked.constData()), uInt(checked.size()))));
}

QByteArray PngForge::rows(const Picture &picture)
{
    QRandomGenerator random(picture.seed);
    QByteArray raw;
    const auto pass = [&](int width, int height) {
        const int bytes = (width * channelsOf(picture.colourType) * picture.bitDepth + 7) / 8;
        for (int y = 0; y < height && width > 0; ++y) {
            raw += char(picture.filter >= 0 ? picture.filter : (y + 4) % 5);
            bool flat = false; // runs of zeros and runs of noise, as screens have them
            for (int i = 0; i < bytes; ++i) {
                if (random.bounded(24) == 0)
                    flat = !flat;
                raw += flat ? '\0' : char(random.bounded(picture.colourType == 3 ? 4 : 256));
            }
        }
    };
    if (!picture.interlaced) {
        pass(picture.width, picture.height);
        return raw;
    }
    // Adam7: first column, first row, steps of each pass.
    static constexpr int passes[7][4] = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                                         {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};
    for (const auto &p : passes)
        pass((picture.width - p[0] + p[2] - 1) / p[2], (picture.height - p[1] + p[3] - 1) / p[3]);
    return raw;
}

QByteArray PngForge::deflated(const QByteArray &raw, int level)
{
    z_stream stream{};
    deflateInit(&stream, level); // the full window, whatever the size
    QByteArray out(qsizetype(deflateBound(&stream, uLong(raw.size()))), Qt::Uninitialized);
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(raw.constData()));
    stream.avail_in = uInt(raw.size());
    stream.next_out = reinterpret_cast<Bytef *>(out.data());
    stream.avail_out = uInt(out.size());
    deflate(&stream, Z_FINISH);
    out.resize(qsizetype(stream.total_out));
    deflateEnd(&stream);
    return out;
}

PngForge::Inflated PngForge::inflated(const QByteArray &stream, qsizetype most)
{
    QByteArray raw(most + 1, Qt::Uninitialized); // zlib wants room beyond the last byte to see that it was the last
    z_stream zlib{};
    inflateInit(&zlib);
    zlib.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(stream.constData()));
    zlib.avail_in = uInt(stream.size());
    zlib.next_out = reinterpret_cast<Bytef *>(raw.data());
    zlib.avail_out = uInt(raw.size());
    const bool ended = inflate(&zlib, Z_FINISH) == Z_STREAM_END;
    raw.resize(qsizetype(zlib.total_out));
    inflateEnd(&zlib);
    return {raw, qsizetype(zlib.total_in), ended && raw.size() <= most};
}

QByteArray PngForge::file(const Picture &picture, const QByteArray &extra)
{
    return file(picture, extra, deflated(rows(picture), picture.level));
}

QByteArray PngForge::file(const Picture &picture, const QByteArray &extra, const QByteArray &deflatedRows)
{
    const char tail[] = {char(picture.bitDepth), char(picture.colourType), 0, 0, char(picture.interlaced)};
    QByteArray out =
        QByteArray("\x89PNG\r\n\x1a\n", 8) +
        chunk("IHDR", number(quint32(picture.width)) + number(quint32(picture.height)) + QByteArray(tail, 5)) + extra;
    if (picture.colourType == 3)
        out += chunk("PLTE", QByteArray::fromHex("ff0000 00ff00 0000ff 808080"));
    const qsizetype step = picture.idatLength > 0 ? picture.idatLength : qMax<qsizetype>(1, deflatedRows.size());
    for (qsizetype at = 0; at < deflatedRows.size(); at += step)
        out += chunk("IDAT", deflatedRows.mid(at, step));
    return out + chunk("IEND", {});
}

QList<qsizetype> PngForge::chunkStarts(const QByteArray &file)
{
    QList<qsizetype> starts;
    for (qsizetype at = 8; at + 12 <= file.size(); at += qsizetype(12) + qFromBigEndian<quint32>(file.constData() + at))
        starts += at;
    return starts;
}

PngForge::Picture PngForge::anyPicture(QRandomGenerator &random)
{
    static constexpr std::pair<int, int> kinds[] = {{0, 1}, {0, 2}, {0, 4}, {0, 8}, {0, 16}, {2, 8}, {2, 16}, {3, 1},
                                                    {3, 2}, {3, 4}, {3, 8}, {4, 8}, {4, 16}, {6, 8}, {6, 16}};
    const auto [colourType, bitDepth] = kinds[random.bounded(int(std::size(kinds)))];
    Picture picture{.width = random.bounded(1, 71), .height = random.bounded(1, 40)};
    if (random.bounded(2)) { // half of them as screenshots are
        picture.colourType = random.bounded(2) ? 2 : 6;
    } else {
        picture.bitDepth = bitDepth;
        picture.colourType = colourType;
        picture.interlaced = random.bounded(2);
    }
    picture.filter = picture.colourType == 3 ? 0 : random.bounded(-1, 5); // others would leave the palette
    picture.level = random.bounded(10);
    picture.idatLength = random.bounded(3) ? 0 : random.bounded(1, 400);
    picture.seed = random.generate();
    return picture;
}

static QByteArray anyChunk(const PngForge::Picture &picture, QRandomGenerator &random)
{
    const std::pair<const char *, QByteArray> kinds[] = {
        {"tEXt", QByteArray("Title\0x", 7)}, // harmless
        {"ABCD", "x"},                       // critical, and unknown
        {"IDAT", {}},                        // empty, perhaps between others
        {"tRNS", QByteArray(6, '\0')},       // a colour key
        {"PLTE", QByteArray(9, 'x')},        // a suggested palette
        {"PLTE", QByteArray(8, 'x')},        // of no whole colours
        {"sBIT", QByteArray(channelsOf(picture.colourType), '\5')},
        {"bKGD", QByteArray(6, '\1')},
        {"sRGB", QByteArray(1, '\0')},
        {"gAMA", number(45455)},
        {"iCCP", QByteArray("x\0\0garbage", 10)},
        {"IEND", {}},
    };
    const auto &[type, content] = kinds[random.bounded(int(std::size(kinds)))];
    return PngForge::chunk(type, content);
}

QByteArray PngForge::damagedFile(const Picture &picture, QRandomGenerator &random)
{
    const QByteArray raw = rows(picture), stream = deflated(raw, picture.level), good = file(picture, {}, stream);
    const QList<qsizetype> starts = chunkStarts(good);
    const int chosen = random.bounded(int(starts.size()));
    const qsizetype start = starts[chosen], end = chosen + 1 < starts.size() ? starts[chosen + 1] : good.size();
    const auto somewhere = [&](const QByteArray &bytes) { return random.bounded(int(bytes.size())); };
    const auto withRows = [&](const QByteArray &other) { return file(picture, {}, deflated(other, picture.level)); };
    QByteArray changed = good;
    switch (random.bounded(14)) {
    case 0: changed[somewhere(good)] ^= char(1 << random.bounded(8)); return changed;
    case 1: return good.left(somewhere(good));
    case 2: return good + "more";
    case 3: return good.left(start) + good.mid(end);
    case 4: return good.left(end) + good.mid(start);
    case 5: return good.left(start) + anyChunk(picture, random) + good.mid(start);
    case 6: changed[start] = char(random.bounded(2) ? 0x7f : 0xff); return changed; // a huge length, or a negative one
    case 7: // a filter number, where rows are all as long
        changed = raw;
        changed[raw.size() / picture.height * random.bounded(picture.height)] = char(random.bounded(5, 256));
        return withRows(changed);
    case 8: return withRows(raw.chopped(random.bounded(1, int(qMin<qsizetype>(raw.size(), 300)) + 1)));
    case 9: return withRows(raw + raw.left(random.bounded(300) + 1));
    case 10: return file(picture, {}, stream.chopped(somewhere(stream) % 24 + 1));
    case 11: return file(picture, {}, stream + (random.bounded(2) ? stream : QByteArray("more")));
    case 12: // its header, and its own checksum
        changed = stream;
        changed[random.bounded(2) ? random.bounded(2) : int(stream.size()) - 1] ^= char(1 << random.bounded(8));
        return file(picture, {}, changed);
    default:
        changed = stream;
        for (int i = random.bounded(1, 4); i > 0; --i)
            changed[somewhere(stream)] = char(random.bounded(256));
        return file(picture, {}, changed);
    }
}

} // namespace qm

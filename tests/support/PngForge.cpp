#include "tests/support/PngForge.h"

#include <QRandomGenerator>
#include <QtEndian>

#include <zlib.h>

#include <array>
#include <span>

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
    // Adam7: first column, first row, steps of each pass.
    using Pass = std::array<int, 4>;
    static constexpr Pass whole[] = {{0, 0, 1, 1}};
    static constexpr Pass passes[] = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                                      {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};
    QRandomGenerator random(picture.seed);
    QByteArray raw;
    for (const Pass &pass : picture.interlaced ? std::span<const Pass>(passes) : std::span<const Pass>(whole)) {
        const int width = (picture.width - pass[0] + pass[2] - 1) / pass[2];
        const int height = (picture.height - pass[1] + pass[3] - 1) / pass[3];
        const int bytes = (width * channelsOf(picture.colourType) * picture.bitDepth + 7) / 8;
        for (int y = 0; y < height && width > 0; ++y) {
            raw += char(picture.filter >= 0 ? picture.filter : (y + 4) % 5);
            bool flat = false; // runs of zeros and runs of noise, as screens have them
            for (int i = 0; i < bytes; ++i) {
                flat ^= random.bounded(24) == 0;
                raw += flat ? '\0' : char(random.bounded(picture.colourType == 3 ? 4 : 256));
            }
        }
    }
    return raw;
}

QByteArray PngForge::deflated(const QByteArray &raw, int level)
{
    return qCompress(raw, level).mid(4); // a length before it
}

PngForge::Inflated PngForge::inflated(const QByteArray &stream, qsizetype most, const QByteArray &history)
{
    QByteArray raw(most + 1, Qt::Uninitialized); // zlib wants room beyond the last byte to see that it was the last
    z_stream zlib{};
    const int head = history.isEmpty() ? 0 : 2; // zlib's own, which then has to be passed over
    inflateInit2(&zlib, head ? -15 : 15);
    if (head)
        inflateSetDictionary(&zlib, reinterpret_cast<const Bytef *>(history.constData()), uInt(history.size()));
    zlib.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(stream.constData())) + head;
    zlib.avail_in = uInt(stream.size() - head);
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

static QByteArray anyChunk(QRandomGenerator &random)
{
    static const std::pair<const char *, QByteArray> kinds[] = {
        {"tEXt", QByteArray("Title\0x", 7)}, // harmless
        {"ABCD", "x"},                       // critical, and unknown
        {"IDAT", {}},                        // empty, perhaps between others
        {"IEND", {}},                        // too early
        {"tRNS", QByteArray(6, '\0')},       // a colour key
        {"PLTE", QByteArray(9, 'x')},        // a suggested palette
        {"PLTE", QByteArray(8, 'x')},        // of no whole colours
        {"sBIT", QByteArray(4, '\5')},
        {"bKGD", QByteArray(6, '\1')},
        {"sRGB", QByteArray(1, '\0')},
        {"gAMA", number(45455)},
        {"iCCP", QByteArray("x\0\0garbage", 10)},
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
    const auto with = [&](QByteArray bytes, qsizetype at, int byte) {
        return bytes.replace(at, 1, QByteArray(1, char(byte)));
    };
    const auto withRows = [&](const QByteArray &other) { return file(picture, {}, deflated(other, picture.level)); };
    switch (random.bounded(14)) {
    case 0: return with(good, random.bounded(2) ? somewhere(good) : end - 1, random.bounded(256)); // a checksum's end
    case 1: return good.left(somewhere(good));
    case 2: return good + "more";
    case 3: return good.left(start) + good.mid(end);
    case 4: return good.left(end) + good.mid(start);
    case 5: return good.left(start) + anyChunk(random) + good.mid(start);
    case 6: return with(good, start, random.bounded(2) ? 0x7f : 0xff); // a huge length, or a negative one
    case 7: {                                                          // a filter number, where rows are all as long
        const qsizetype row = raw.size() / picture.height * random.bounded(picture.height);
        return withRows(with(raw, row, random.bounded(2) ? 5 : random.bounded(5, 256)));
    }
    case 8: return withRows(raw.chopped(random.bounded(int(qMin<qsizetype>(raw.size(), 300))) + 1));
    case 9: return withRows(raw + raw.left(random.bounded(300) + 1));
    case 10: return file(picture, {}, stream.chopped(somewhere(stream) % 24 + 1));
    case 11: return file(picture, {}, stream + (random.bounded(2) ? stream : QByteArray("more")));
    case 12: { // the stream's header, or its checksum
        const qsizetype places[] = {0, 1, stream.size() - 1};
        return file(picture, {}, with(stream, places[random.bounded(3)], random.bounded(256)));
    }
    default:
        QByteArray changed = stream;
        for (int i = random.bounded(1, 4); i > 0; --i)
            changed[somewhere(stream)] = char(random.bounded(256));
        return file(picture, {}, changed);
    }
}

} // namespace qm

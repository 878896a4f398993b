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

std::optional<QByteArray> PngForge::inflated(const QByteArray &stream, qsizetype most)
{
    QByteArray raw(most + 1, Qt::Uninitialized);
    z_stream zlib{};
    inflateInit(&zlib);
    zlib.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(stream.constData()));
    zlib.avail_in = uInt(stream.size());
    zlib.next_out = reinterpret_cast<Bytef *>(raw.data());
    zlib.avail_out = uInt(raw.size());
    const bool whole = inflate(&zlib, Z_FINISH) == Z_STREAM_END && zlib.avail_in == 0;
    raw.resize(qsizetype(zlib.total_out));
    inflateEnd(&zlib);
    return whole ? std::optional(raw) : std::nullopt;
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

QList<std::pair<QByteArray, QByteArray>> PngForge::oddities()
{
    QList<std::pair<QByteArray, QByteArray>> files;
    const auto add = [&](const QByteArray &name, const QByteArray &content) { files.append({name, content}); };
    const Picture picture{.width = 21, .height = 17, .idatLength = 300};
    const QByteArray good = file(picture, chunk("pHYs", number(5669) + number(5669) + '\1'));
    const QList<qsizetype> starts = chunkStarts(good);
    for (int i = 0; i < starts.size(); ++i) {
        const qsizetype start = starts[i];
        const qsizetype end = i + 1 < starts.size() ? starts[i + 1] : good.size();
        const QByteArray name = good.mid(start + 4, 4) + ' ' + QByteArray::number(i);
        const QByteArray whole = good.mid(start, end - start);
        QByteArray wrong = good;
        wrong[end - 1] = char(wrong[end - 1] ^ 1);
        add("wrong checksum of " + name, wrong);
        add("cut before " + name, good.left(start));
        add("cut inside " + name, good.left(start + 8 + (end - start - 12) / 2));
        add("cut in the checksum of " + name, good.left(end - 2));
        add("without " + name, good.left(start) + good.mid(end));
        add("twice " + name, good.left(end) + whole + good.mid(end));
        files +=
            {"a text before " + name, good.left(start) + chunk("tEXt", QByteArray("Title\0x", 7)) + good.mid(start)};
        add("an unknown critical chunk before " + name, good.left(start) + chunk("ABCD", "x") + good.mid(start));
        add("an empty IDAT before " + name, good.left(start) + chunk("IDAT", {}) + good.mid(start));
        QByteArray longer = good;
        longer[start] = char(0x7f);
        add("a huge length for " + name, longer);
        longer[start] = char(0xff);
        add("a negative length for " + name, longer);
    }
    add("bytes after the end", good + "more");
    add("not a PNG", "GIF89a");
    add("empty", {});

    Picture plain{.width = 21, .height = 17};
    for (const int colourType : {2, 6}) {
        plain.colourType = colourType;
        const QByteArray raw = rows(plain), row = raw.left(1 + 21 * channelsOf(colourType));
        const QByteArray type = " type " + QByteArray::number(colourType);
        QByteArray bad = raw;
        bad[5 * row.size()] = 5;
        add("filter number 5" + type, file(plain, {}, deflated(bad, 6)));
        bad[5 * row.size()] = char(255);
        add("filter number 255" + type, file(plain, {}, deflated(bad, 6)));
        add("a row too few" + type, file(plain, {}, deflated(raw.chopped(row.size()), 6)));
        add("a byte too few" + type, file(plain, {}, deflated(raw.chopped(1), 6)));
        add("a row too many" + type, file(plain, {}, deflated(raw + row, 6)));
        QByteArray stream = deflated(raw, 6);
        add("bytes after the stream" + type, file(plain, {}, stream + "more"));
        add("the stream twice" + type, file(plain, {}, stream + stream));
        for (const int cut : {1, 4, 5, 20})
            add("stream short by " + QByteArray::number(cut) + type, file(plain, {}, stream.chopped(cut)));
        for (const auto &[at, bits] :
             {std::pair(0, 0x70), {0, 1}, {1, 0x20}, {1, 1}, {2, 6}, {int(stream.size()) - 1, 1}}) {
            QByteArray changed = stream;
            changed[at] = char(changed[at] ^ bits);
            add("stream byte " + QByteArray::number(at) + " changed by " + QByteArray::number(bits) + type,
                file(plain, {}, changed));
        }
        add("a colour key" + type, file(plain, chunk("tRNS", QByteArray(6, '\0'))));
        add("a suggested palette" + type, file(plain, chunk("PLTE", QByteArray(9, 'x'))));
        add("a bad palette" + type, file(plain, chunk("PLTE", QByteArray(8, 'x'))));
        add("significant bits" + type, file(plain, chunk("sBIT", QByteArray(channelsOf(colourType), '\5'))));
        add("background" + type, file(plain, chunk("bKGD", QByteArray(6, '\1'))));
        files +=
            {"sRGB and gamma" + type, file(plain, chunk("sRGB", QByteArray(1, '\0')) + chunk("gAMA", number(45455)))};
        add("a broken profile" + type, file(plain, chunk("iCCP", QByteArray("x\0\0garbage", 10))));
    }
    return files;
}

} // namespace qm

#include "index/TextBoxes.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QtEndian>

#include <algorithm>
#include <vector>

namespace qm {

namespace {

constexpr int largestPicture = 1 << 20; // pixels; no coordinate is beyond

struct Line {
    qsizetype start, end; // in the text
};

QList<Line> linesOf(const QString &text)
{
    QList<Line> lines;
    for (qsizetype start = 0;;) {
        const qsizetype end = text.indexOf(u'\n', start);
        lines.append({start, end < 0 ? text.size() : end});
        if (end < 0)
            return lines;
        start = end + 1;
    }
}

struct Token {
    qsizetype start, length;
};

bool standsAlone(QChar c) // as Japanese is read character by character
{
    return c.unicode() >= 0x2E80;
}

// The words that a line most likely has.
QList<Token> tokensOf(QStringView text, const Line &line)
{
    QList<Token> tokens;
    for (qsizetype at = line.start; at < line.end;) {
        const qsizetype start = at++;
        if (text[start].isSpace())
            continue;
        if (text[start].isHighSurrogate())
            at = std::min(at + 1, line.end);
        else
            while (!standsAlone(text[start]) && at < line.end && !text[at].isSpace() && !standsAlone(text[at]))
                ++at;
        tokens.append({start, at - start});
    }
    return tokens;
}

// What is likely to come next, from what came before. Only the differences are kept: most are small, and many alike.
class Forecast
{
public:
    void beginLine(const QList<Token> &tokens)
    {
        m_tokens = tokens;
        m_next = 0;
        m_isFirst = true;
    }
    qint64 count() const { return m_tokens.size(); }
    qint64 top() const { return m_bottom + m_pitch; }
    qint64 height() const { return m_height; }
    void setLine(qint64 top, qint64 height)
    {
        m_pitch = top - m_bottom;
        m_bottom = top + height;
        m_height = height;
    }

    qint64 start(qint64 end) const { return m_next < m_tokens.size() ? m_tokens[m_next].start : end; }
    qint64 length() const { return m_next < m_tokens.size() ? m_tokens[m_next].length : 1; }
    qint64 left() const { return m_isFirst ? m_margin : m_right + m_gap; }
    qint64 width(qint64 length) const { return m_width * length / m_length; } // as wide for its length as the last one
    void setWord(qint64 length, qint64 left, qint64 width)
    {
        if (m_isFirst)
            m_margin = left;
        else
            m_gap = left - m_right;
        m_isFirst = false;
        m_right = left + width;
        m_width = width;
        m_length = length;
        ++m_next;
    }

private:
    QList<Token> m_tokens;
    qsizetype m_next = 0;
    bool m_isFirst = true;
    qint64 m_bottom = 0, m_pitch = 0, m_height = 0, m_margin = 0, m_right = 0, m_gap = 0, m_width = 0, m_length = 1;
};

// Whole numbers in few bytes, small ones in one. Each kind has a run of its own: what is alike stands together, which is
// what deflate needs.
class Numbers
{
public:
    void put(qint64 number)
    {
        auto rest = quint64(number) << 1 ^ quint64(number >> 63); // the sign goes last
        for (; rest >= 0x80; rest >>= 7)
            m_bytes += char(rest | 0x80);
        m_bytes += char(rest);
    }
    const QByteArray &bytes() const { return m_bytes; }

private:
    QByteArray m_bytes;
};

class NumberReader
{
public:
    explicit NumberReader(QByteArrayView bytes)
        : m_bytes(bytes)
    {
    }
    qint64 take()
    {
        quint64 number = 0;
        for (int shift = 0; shift < 63; shift += 7) {
            if (m_at >= m_bytes.size())
                break;
            const auto byte = uchar(m_bytes[m_at++]);
            number |= quint64(byte & 0x7F) << shift;
            if (byte < 0x80)
                return qint64(number >> 1) ^ -qint64(number & 1);
        }
        m_failed = true;
        return 0;
    }
    QByteArrayView takeBytes(qint64 count)
    {
        m_failed = m_failed || count < 0 || count > m_bytes.size() - m_at;
        if (m_failed)
            return {};
        m_at += count;
        return m_bytes.sliced(m_at - count, count);
    }
    bool failed() const { return m_failed; }

private:
    QByteArrayView m_bytes;
    qsizetype m_at = 0;
    bool m_failed = false;
};

enum Kind { wordCounts, starts, lengths, tops, heights, lefts, widths, kinds };

qint64 checkOf(const QString &text)
{
    return qChecksum(QByteArrayView(reinterpret_cast<const char *>(text.constData()), text.size() * 2));
}

std::optional<QRect> sensible(qint64 x, qint64 y, qint64 width, qint64 height)
{
    for (const qint64 number : {x, y, width, height}) {
        if (number < 0 || number > largestPicture)
            return std::nullopt;
    }
    if (width == 0 || height == 0)
        return std::nullopt;
    return QRect(int(x), int(y), int(width), int(height));
}

// Tesseract's boxes of single Japanese characters often reach over their neighbours. All of a run have the same width.
void partEvenly(QList<TextBoxes::Word> &words, qsizetype first, qsizetype end, int limit)
{
    bool overlap = false;
    int right = words[first].box.x() + words[first].box.width();
    for (qsizetype i = first + 1; i < end; ++i) {
        overlap = overlap || words[i].box.x() < right - words[i].box.height() / 4;
        right = std::max(right, words[i].box.x() + words[i].box.width());
    }
    overlap = overlap || right > limit;
    const int left = words[first].box.x(), width = std::min(right, limit) - left;
    const auto edge = [&](qsizetype i) { return left + int(width * (i - first) / (end - first)); };
    if (!overlap || width < end - first)
        return;
    for (qsizetype i = first; i < end; ++i) {
        words[i].box.setX(edge(i));
        words[i].box.setWidth(edge(i + 1) - edge(i));
    }
}

void mendRuns(QList<TextBoxes::Word> &words, qsizetype first, const QString &text)
{
    const auto isCharacter = [&](const TextBoxes::Word &word) {
        return word.length == 1 && standsAlone(text[word.start]);
    };
    while (first < words.size()) {
        qsizetype end = first + 1;
        while (isCharacter(words[first]) && end < words.size() && isCharacter(words[end]) &&
               words[end].start == words[end - 1].start + 1)
            ++end;
        const int limit = end < words.size() ? words[end].box.x() : largestPicture;
        if (end - first > 1 && limit > words[first].box.x())
            partEvenly(words, first, end, limit);
        first = end;
    }
}

} // namespace

std::optional<TextBoxes> TextBoxes::fromLines(const QJsonArray &lines, const QString &text)
{
    if (text.isEmpty() && lines.isEmpty())
        return TextBoxes();
    const QList<Line> expected = linesOf(text);
    if (lines.size() != expected.size())
        return std::nullopt;
    TextBoxes boxes;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QJsonObject line = lines[i].toObject();
        const QJsonArray frame = line.value(u"box").toArray();
        const qsizetype first = boxes.words.size();
        qsizetype end = expected[i].start;
        for (const QJsonValue &value : line.value(u"words").toArray()) {
            const QJsonArray word = value.toArray();
            if (word.size() != 6 || frame.size() != 4)
                return std::nullopt;
            const qint64 start = expected[i].start + word[0].toInteger(-1), length = word[1].toInteger();
            const auto box =
                sensible(word[2].toInteger(-1), frame[1].toInteger(-1), word[4].toInteger(), frame[3].toInteger());
            if (!box || start < end || length <= 0 || length > expected[i].end - start)
                return std::nullopt;
            end = start + length;
            boxes.words.append({start, length, *box});
        }
        mendRuns(boxes.words, first, text);
    }
    return boxes;
}

QByteArray TextBoxes::packed(const QString &text) const
{
    Numbers columns[kinds];
    Forecast forecast;
    qsizetype next = 0;
    for (const Line &line : linesOf(text)) {
        const qsizetype first = next;
        while (next < words.size() && words[next].start < line.end)
            ++next;
        forecast.beginLine(tokensOf(text, line));
        columns[wordCounts].put(next - first - forecast.count());
        if (next == first)
            continue;
        const QRect frame = words[first].box;
        columns[tops].put(frame.y() - forecast.top());
        columns[heights].put(frame.height() - forecast.height());
        forecast.setLine(frame.y(), frame.height());
        qsizetype end = line.start;
        for (qsizetype i = first; i < next; ++i) {
            const Word &word = words[i];
            columns[starts].put(word.start - forecast.start(end));
            columns[lengths].put(word.length - forecast.length());
            columns[lefts].put(word.box.x() - forecast.left());
            columns[widths].put(word.box.width() - forecast.width(word.length));
            forecast.setWord(word.length, word.box.x(), word.box.width());
            end = word.start + word.length;
        }
    }
    Numbers sizes;
    QByteArray all;
    sizes.put(checkOf(text));
    for (const Numbers &column : columns) {
        sizes.put(column.bytes().size());
        all += column.bytes();
    }
    return qCompress(sizes.bytes() + all, 9);
}

std::optional<TextBoxes> TextBoxes::unpacked(const QByteArray &packed, const QString &text)
{
    // What qUncompress would allocate stands at the front.
    if (packed.size() < 4 || qFromBigEndian<quint32>(packed.constData()) > 64 * (text.size() + 1024))
        return std::nullopt;
    const QByteArray bytes = qUncompress(packed);
    NumberReader all(bytes);
    if (all.take() != checkOf(text))
        return std::nullopt;
    qint64 sizes[kinds];
    for (qint64 &size : sizes)
        size = all.take();
    std::vector<NumberReader> columns;
    for (const qint64 size : sizes)
        columns.emplace_back(all.takeBytes(size));
    TextBoxes boxes;
    Forecast forecast;
    for (const Line &line : linesOf(text)) {
        forecast.beginLine(tokensOf(text, line));
        const qint64 count = forecast.count() + columns[wordCounts].take();
        if (count == 0)
            continue;
        const qint64 top = forecast.top() + columns[tops].take(), height = forecast.height() + columns[heights].take();
        forecast.setLine(top, height);
        qint64 end = line.start;
        for (qint64 i = 0; i < count; ++i) {
            const qint64 start = forecast.start(end) + columns[starts].take();
            const qint64 length = forecast.length() + columns[lengths].take();
            if (start < end || start >= line.end || length <= 0 || length > line.end - start)
                return std::nullopt;
            const qint64 left = forecast.left() + columns[lefts].take();
            const qint64 width = forecast.width(length) + columns[widths].take();
            const auto box = sensible(left, top, width, height);
            if (!box)
                return std::nullopt;
            boxes.words.append({qsizetype(start), qsizetype(length), *box});
            forecast.setWord(length, left, width);
            end = start + length;
        }
    }
    const auto failed = [](const NumberReader &reader) { return reader.failed(); };
    return failed(all) || std::any_of(columns.begin(), columns.end(), failed) ? std::nullopt : std::optional(boxes);
}

QList<QRectF> TextBoxes::boxesOf(qsizetype start, qsizetype length) const
{
    QList<QRectF> boxes;
    const qsizetype end = start + length;
    auto word = std::partition_point(words.begin(), words.end(),
                                     [&](const Word &before) { return before.start + before.length <= start; });
    for (; word != words.end() && word->start < end; ++word) {
        const double unit = double(word->box.width()) / double(word->length);
        const qsizetype first = std::max(start, word->start) - word->start;
        const qsizetype last = std::min(end, word->start + word->length) - word->start;
        const QRectF part(word->box.x() + double(first) * unit, word->box.y(), double(last - first) * unit,
                          word->box.height());
        // Words of a line have the same height, and stand beside each other.
        if (!boxes.isEmpty() && boxes.last().y() == part.y() && boxes.last().height() == part.height() &&
            part.x() >= boxes.last().x())
            boxes.last() |= part;
        else
            boxes.append(part);
    }
    return boxes;
}

} // namespace qm

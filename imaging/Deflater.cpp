#include "imaging/Deflater.h"

#include "imaging/PrefixCode.h"

#include <QtEndian>

#include <libdeflate.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <utility>

namespace qm {

static constexpr quint32 farthest = 32768; // RFC 1951: maximum distance of a match
static constexpr quint32 shortest = 3, shortestByHash = 4, longest = 258;
static constexpr quint32 compared = 32;        // bytes compared of each candidate before choosing
static constexpr quint32 longEnough = 8;       // a neighbour's match this long makes the hash unnecessary
static constexpr double farBits = 20;          // approximate cost of a match other than with the pixel to the left
static constexpr quint32 missesUnnoticed = 64; // consecutive literals before some positions are skipped
static constexpr quint32 mostSkipped = 7;
static constexpr int slack = 64;                           // bytes read beyond the end, but never matched
static constexpr quint32 noDistance = 31 << 10;            // for a literal
static constexpr size_t tokenBytes = 6, headerBytes = 512; // at most
static constexpr int endOfBlock = 256, lengthCodes = 257;
static constexpr int longestCode = 15, longestLengthCode = 7;

namespace {

struct LengthTable {
    std::array<quint8, longest + 1> symbol{}; // minus 257
    std::array<quint8, 29> extraBits{};
    std::array<quint16, 29> first{};

    constexpr LengthTable()
    {
        quint32 length = shortest;
        for (int i = 0; i < 29; ++i) {
            extraBits[size_t(i)] = quint8(i < 8 || i == 28 ? 0 : i / 4 - 1);
            first[size_t(i)] = quint16(i == 28 ? longest : length);
            for (int k = 0; k < 1 << extraBits[size_t(i)] && length <= longest; ++k)
                symbol[length++] = quint8(i);
        }
        symbol[longest] = 28; // has its own symbol, although the previous one could express it
    }
};

constexpr LengthTable lengthTable;

quint32 distanceSymbol(quint32 distance)
{
    const quint32 less = distance - 1;
    if (less < 4)
        return less;
    const quint32 top = quint32(std::bit_width(less)) - 1;
    return 2 * top + (less >> (top - 1) & 1);
}

quint32 distanceBits(quint32 symbol)
{
    return symbol < 4 ? 0 : symbol / 2 - 1;
}

template<typename Word>
Word load(const uchar *at)
{
    Word word;
    std::memcpy(&word, at, sizeof word);
    return word;
}

// Number of equal leading bytes, up to 32.
quint32 same(const uchar *a, const uchar *b)
{
    for (quint32 i = 0; i < compared; i += 8) {
        const quint64 differ = qFromLittleEndian(load<quint64>(a + i) ^ load<quint64>(b + i));
        if (differ)
            return i + quint32(std::countr_zero(differ)) / 8;
    }
    return compared;
}

struct Match {
    quint32 length, distance;
};

Match atNeighbours(const uchar *at, quint32 pixel, quint32 row, quint32 worthFar)
{
    const quint32 left = same(at, at - pixel), above = same(at, at - row);
    return above > std::max(left, worthFar - 1) ? Match{above, row} : Match{left, pixel};
}

Match atPlaces(const uchar *at, quint32 nearer, quint32 farther, quint32 worthFar, Match match)
{
    quint32 beat = std::max({match.length, worthFar - 1, shortestByHash - 1});
    const quint32 byNearer = same(at, at - nearer), byFarther = same(at, at - farther);
    if (byNearer > beat)
        match = {beat = byNearer, nearer};
    if (byFarther > beat)
        match = {byFarther, farther};
    return match;
}

// The full length of a match whose first `compared` bytes are known to match.
quint32 extended(const uchar *at, quint32 distance, const uchar *stop)
{
    const uchar *further = at + compared;
    for (quint32 more = compared; more == compared && further < stop; further += more)
        more = same(further, further - distance);
    return quint32(std::min(further, stop) - at);
}

} // namespace

Deflater::Deflater(int pixel, qint64 row, size_t mostAtOnce, Sink sink, qint64 position)
    : m_pixel(pixel)
    , m_row(row <= farthest ? quint32(row) : quint32(pixel))
    , m_sink(std::move(sink))
    , m_window(farthest + slack + mostAtOnce + slack)
    , m_filled(farthest)
    , m_next(farthest)
    , m_origin(position - qint64(farthest))
    , m_out(2 + mostTokens * tokenBytes + headerBytes)
    , m_at(m_out.data())
{
    put(0x78, 8); // deflate, with the largest window
    put(0x01, 8); // fastest compressor, no dictionary; makes the header a multiple of 31
}

Deflater::Deflater(const Deflater &other, Sink sink)
    : m_pixel(other.m_pixel)
    , m_row(other.m_row)
    , m_sink(std::move(sink))
    , m_window(other.m_window)
    , m_filled(other.m_filled)
    , m_next(other.m_next)
    , m_origin(other.m_origin)
    , m_adler(other.m_adler)
    , m_worthFar(other.m_worthFar)
    , m_places(other.m_places)
    , m_tokens(other.m_tokens)
    , m_tokenCount(other.m_tokenCount)
    , m_valueCounts(other.m_valueCounts)
    , m_distanceCounts(other.m_distanceCounts)
    , m_out(other.m_out)
    , m_at(m_out.data() + (other.m_at - other.m_out.data()))
    , m_bits(other.m_bits)
    , m_bitCount(other.m_bitCount)
{
}

void Deflater::put(quint64 bits, int count)
{
    m_bits |= bits << m_bitCount;
    m_bitCount += count;
    for (; m_bitCount >= 8; m_bitCount -= 8, m_bits >>= 8)
        *m_at++ = uchar(m_bits);
}

void Deflater::add(size_t count)
{
    m_adler = libdeflate_adler32(m_adler, m_window.data() + m_filled, count);
    m_filled += count;
    if (m_filled - m_next > slack) // hold back the last few: a match may continue in the next bytes
        search(m_window.data() + m_filled - slack);
    const size_t past = m_next - farthest;
    std::memmove(m_window.data(), m_window.data() + past, m_filled - past);
    m_origin += qint64(past);
    m_filled -= past;
    m_next -= past;
}

// If a neighbour already gives a long match, the hash is not consulted. Positions inside a match are not recorded.
void Deflater::search(const uchar *end)
{
    // Local copies: to the compiler, a store to the counts could change a member.
    const uchar *const window = m_window.data(), *const filled = window + m_filled;
    const quint32 pixel = m_pixel, row = m_row;
    const qint64 origin = m_origin;
    quint32 *const places = m_places.data(), *const valueCounts = m_valueCounts.data();
    quint32 *token = m_tokens.data() + m_tokenCount, *const lastToken = m_tokens.data() + m_tokens.size();
    const uchar *at = window + m_next;
    quint32 worthFar = m_worthFar, misses = 0;
    while (at < end) {
        const qint64 position = origin + (at - window);
        const quint32 low = quint32(position) & 0xffff;
        quint32 &place = places[load<quint32>(at) * 0x9e3779b1u >> (32 - hashBits)];
        const quint32 last = place;
        place = last << 16 | low;

        Match match = atNeighbours(at, pixel, row, worthFar);
        if (match.length < longEnough)
            match = atPlaces(at, (low - last) % farthest, (low - (last >> 16)) % farthest, worthFar, match);
        // A place is a guess: it may be the current position (distance 0) or lie before the beginning.
        if (match.length < shortest || match.distance - 1 >= quint32(std::min<qint64>(position, farthest))) {
            ++valueCounts[*at];
            *token++ = *at++ | noDistance;
            if (++misses > missesUnnoticed) [[unlikely]] {
                const quint32 skipped = std::min(misses / missesUnnoticed, mostSkipped);
                for (quint32 i = 0; i < skipped && token < lastToken; ++i) {
                    ++valueCounts[*at];
                    *token++ = *at++ | noDistance;
                }
            }
        } else {
            misses = 0;
            if (match.length == compared)
                match.length = extended(at, match.distance, std::min(at + longest, filled));
            const quint32 symbol = distanceSymbol(match.distance);
            const quint32 bits = (match.distance - 1) & ((1u << distanceBits(symbol)) - 1);
            ++valueCounts[lengthsFrom + match.length];
            ++m_distanceCounts[symbol];
            *token++ = (lengthsFrom + match.length) | symbol << 10 | bits << 15;
            at += match.length;
        }
        if (token == lastToken) {
            m_tokenCount = mostTokens;
            writeBlock(false);
            token = m_tokens.data();
            worthFar = m_worthFar;
        }
    }
    m_tokenCount = size_t(token - m_tokens.data());
    m_next = size_t(at - window);
}

void Deflater::finish()
{
    for (; m_next < m_filled; ++m_next) {
        ++m_valueCounts[m_window[m_next]];
        m_tokens[m_tokenCount++] = m_window[m_next] | noDistance;
        if (m_tokenCount == mostTokens)
            writeBlock(false);
    }
    writeBlock(true);
    put(0, (8 - m_bitCount) % 8);
    for (int shift = 24; shift >= 0; shift -= 8)
        put(m_adler >> shift & 0xff, 8);
    m_sink(m_out.data(), size_t(m_at - m_out.data()));
}

// Sets the minimum match length for the next block. Literals have longer codes the rarer they are among the tokens;
// this effect is subtracted, or a block full of bad matches would make the next one prefer them too.
void Deflater::adapt(const PrefixCode &values)
{
    double literals = 0, bits = 0;
    for (size_t i = 0; i < endOfBlock; ++i) {
        literals += m_valueCounts[i];
        bits += double(m_valueCounts[i]) * values.lengths[i];
    }
    if (literals == 0)
        return;
    const double each = bits / literals - std::log2(double(m_tokenCount) / literals);
    m_worthFar = std::clamp(quint32(farBits / std::max(each, 0.5)) + 1, shortest, compared);
}

void Deflater::writeBlock(bool last)
{
    std::array<quint32, PrefixCode::mostSymbols> counts{};
    std::copy_n(m_valueCounts.begin(), endOfBlock, counts.begin());
    counts[endOfBlock] = 1;
    for (quint32 length = shortest; length <= longest; ++length)
        counts[lengthCodes + lengthTable.symbol[length]] += m_valueCounts[lengthsFrom + length];
    const PrefixCode values = PrefixCode::of(counts, longestCode);
    const PrefixCode distances = PrefixCode::of(std::span(m_distanceCounts).first(30), longestCode);
    adapt(values);
    put(last, 1);
    put(2, 2); // dynamic Huffman codes follow
    writeCodeLengths(values, distances);
    writeTokens(values, distances);
    put(values.codes[endOfBlock], values.lengths[endOfBlock]);
    if (!last)
        m_sink(m_out.data(), size_t(std::exchange(m_at, m_out.data()) - m_out.data()));
    m_tokenCount = 0;
    m_valueCounts.fill(0);
    m_distanceCounts.fill(0);
}

// RFC 1951, 3.2.7: the lengths of both codes, run-length encoded, in a code of their own.
void Deflater::writeCodeLengths(const PrefixCode &values, const PrefixCode &distances)
{
    const auto used = [](const PrefixCode &code, int least, int most) {
        while (most > least && code.lengths[size_t(most - 1)] == 0)
            --most;
        return most;
    };
    const int valueCount = used(values, lengthCodes, 286), distanceCount = used(distances, 1, 30);
    std::array<quint8, 286 + 30> lengths;
    std::copy_n(distances.lengths.begin(), distanceCount,
                std::copy_n(values.lengths.begin(), valueCount, lengths.begin()));
    const auto end = lengths.begin() + valueCount + distanceCount;

    struct Run {
        quint8 symbol, extra, extraBits;
    };
    std::array<Run, 286 + 30> storage;
    size_t runCount = 0;
    for (auto at = lengths.begin(); at != end;) {
        const quint8 length = *at;
        const auto start = at;
        at = std::find_if(at, end, [=](quint8 other) { return other != length; });
        auto left = at - start;
        if (length > 0) {
            storage[runCount++] = {length, 0, 0};
            --left;
        }
        while (left >= 3) {
            const auto taken = std::min<qsizetype>(left, length > 0 ? 6 : left > 10 ? 138 : 10);
            if (length > 0)
                storage[runCount++] = {16, quint8(taken - 3), 2};
            else if (left > 10)
                storage[runCount++] = {18, quint8(taken - 11), 7};
            else
                storage[runCount++] = {17, quint8(taken - 3), 3};
            left -= taken;
        }
        for (; left > 0; --left)
            storage[runCount++] = {length, 0, 0};
    }
    const std::span<const Run> runs(storage.data(), runCount);

    std::array<quint32, 19> counts{};
    for (const Run &run : runs)
        ++counts[run.symbol];
    const PrefixCode code = PrefixCode::of(counts, longestLengthCode);
    static constexpr quint8 order[] = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
    int told = int(std::size(order));
    while (told > 4 && code.lengths[order[told - 1]] == 0)
        --told;
    put(quint64(valueCount - 257), 5);
    put(quint64(distanceCount - 1), 5);
    put(quint64(told - 4), 4);
    for (int i = 0; i < told; ++i)
        put(code.lengths[order[i]], 3);
    for (const Run &run : runs) {
        put(code.codes[run.symbol], code.lengths[run.symbol]);
        put(run.extra, run.extraBits);
    }
}

// Every token is a value and a distance; a literal's distance takes zero bits. A branch here would be mispredicted more
// often than it saves work. At most 48 bits, and fewer than 8 are pending.
void Deflater::writeTokens(const PrefixCode &values, const PrefixCode &distances)
{
    struct Coded {
        quint32 bits = 0;
        quint8 ownBits = 0, allBits = 0;
    };
    std::array<Coded, 513> value;
    for (size_t i = 0; i < endOfBlock; ++i)
        value[i] = {values.codes[i], values.lengths[i], values.lengths[i]};
    for (size_t length = shortest; length <= longest; ++length) {
        const size_t symbol = lengthTable.symbol[length];
        const int own = values.lengths[lengthCodes + symbol];
        value[lengthsFrom + length] = {values.codes[lengthCodes + symbol] | quint32(length - lengthTable.first[symbol])
                                                                                << own,
                                       quint8(own), quint8(own + lengthTable.extraBits[symbol])};
    }
    std::array<Coded, 32> distance;
    for (size_t i = 0; i < 30; ++i)
        distance[i] = {distances.codes[i], distances.lengths[i],
                       quint8(distances.lengths[i] + distanceBits(quint32(i)))};

    quint64 bits = m_bits;
    int count = m_bitCount;
    uchar *at = m_at;
    for (const quint32 token : std::span(m_tokens).first(m_tokenCount)) {
        const Coded &first = value[token & 1023], &second = distance[token >> 10 & 31];
        bits |= quint64(first.bits) << count;
        count += first.allBits;
        bits |= (quint64(second.bits) | quint64(token >> 15) << second.ownBits) << count;
        count += second.allBits;
        qToLittleEndian(bits, at);
        at += count / 8;
        bits >>= count & ~7;
        count &= 7;
    }
    m_bits = bits;
    m_bitCount = count;
    m_at = at;
}

} // namespace qm

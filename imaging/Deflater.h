#pragma once

#include <QtGlobal>

#include <array>
#include <functional>
#include <vector>

namespace qm {

struct PrefixCode;

// Deflates the filtered rows of a PNG (RFC 1950 and 1951). A general deflater finds repetitions by hashing alone; in
// pictures most lie in predictable places, the pixel to the left and the row above, and looking there first is both
// faster and smaller than that. Deterministic: the same bytes always give the same result. One thread at a time.
//
// Over real screenshots (bench/Deflate.cpp), libdeflate's level 1 takes 2.7 to 3.4 times as long for files of 0.89 to 1.01 of
// the size, its level 4 3.6 to 4.8 times for 0.82 to 0.94; igzip takes 0.6 times as long for 1.06 to 1.16. And libdeflate wants
// all bytes at once, where a scrolling capture does not know how many there will be.
class Deflater
{
public:
    using Sink = std::function<void(const uchar *bytes, size_t count)>;

    // Distances in bytes to the pixel on the left and to the row above. The sink receives the compressed bytes. position: so
    // many zeros have gone before; lets a test be where a picture gets only after minutes.
    Deflater(int pixel, qint64 row, size_t mostAtOnce, Sink sink, qint64 position = 0);
    Deflater(const Deflater &other, Sink sink); // goes on from where the other is, into a sink of its own

    // Where to write the next bytes, up to mostAtOnce plus a few that may be overwritten; changes with every add().
    uchar *room() { return m_window.data() + m_filled; }
    void add(size_t count); // count bytes have been written to room()
    void finish();

private:
    static constexpr int hashBits = 11;
    static constexpr size_t mostTokens = 16384; // in a block; the fewer, the better the code fits them
    static constexpr quint32 lengthsFrom = 254; // token value of a match, minus its length

    void search(const uchar *end);
    void writeBlock(bool last);
    void adapt(const PrefixCode &values);
    void writeCodeLengths(const PrefixCode &values, const PrefixCode &distances);
    void writeTokens(const PrefixCode &values, const PrefixCode &distances);
    void put(quint64 bits, int count);

    const quint32 m_pixel, m_row;
    const Sink m_sink;
    std::vector<uchar> m_window; // history for matches, then the bytes still to be deflated
    size_t m_filled, m_next;     // end of filled bytes, start of those to deflate
    qint64 m_origin;             // stream position of the window's first byte
    quint32 m_adler = 1;
    // Minimum length of a match other than with the pixel to the left: the shorter the literals' codes, the longer.
    quint32 m_worthFar = 3;
    // Indexed by a hash of four bytes: the two latest positions where they occurred, low 16 bits of each.
    std::array<quint32, size_t(1) << hashBits> m_places{};
    // A token's lowest 10 bits are a literal, or lengthsFrom + the length of a match; the next 5 the distance symbol;
    // the rest the distance's extra bits.
    std::vector<quint32> m_tokens = std::vector<quint32>(mostTokens);
    size_t m_tokenCount = 0;
    std::array<quint32, 513> m_valueCounts{};
    std::array<quint32, 32> m_distanceCounts{};
    std::vector<uchar> m_out;
    uchar *m_at;
    quint64 m_bits = 0; // not yet written
    int m_bitCount = 0;
};

} // namespace qm

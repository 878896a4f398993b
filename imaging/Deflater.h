#pragma once

#include <QtGlobal>

#include <array>
#include <functional>
#include <vector>

namespace qm {

struct PrefixCode;

// Deflates the filtered rows of a PNG (RFC 1950 and 1951). A general deflater looks for repetitions by hashing alone; in a
// picture most are found where one expects them, at the pixel to the left and in the row above, and looking there first
// is both quicker and smaller. The same bytes always give the same result. One thread at a time.
class Deflater
{
public:
    using Sink = std::function<void(const uchar *bytes, size_t count)>;

    // Distances in bytes, to the pixel at the left and to the row above. The sink takes what is deflated.
    Deflater(int pixel, qint64 row, size_t mostAtOnce, Sink sink);

    // Where the next bytes go, mostAtOnce of them and a few more that may be overwritten; changes with every add().
    uchar *room() { return m_window.data() + m_filled; }
    void add(size_t count); // so many have been put there
    void finish();

private:
    static constexpr int hashBits = 11;
    static constexpr size_t mostTokens = 16384; // in a block; the fewer, the closer is the code to what it says
    static constexpr quint32 lengthsFrom = 254; // token value of a match, less its length

    void search(const uchar *end);
    void writeBlock(bool last);
    void adapt(const PrefixCode &values);
    void writeCodeLengths(const PrefixCode &values, const PrefixCode &distances);
    void writeTokens(const PrefixCode &values, const PrefixCode &distances);
    void put(quint64 bits, int count);

    const quint32 m_pixel, m_row;
    const Sink m_sink;
    std::vector<uchar> m_window; // what matches may go back to, then what is to be deflated
    size_t m_filled, m_next;     // ends of both
    qint64 m_origin;             // the window's first byte, counted from the stream's beginning
    quint32 m_adler = 1;
    // The least length of a match that is not the pixel to the left: the shorter the codes of literals, the longer.
    quint32 m_worthFar = 3;
    // By hash of four bytes, the two places where they stood last, the low 16 bits of each.
    std::array<quint32, size_t(1) << hashBits> m_places{};
    // A token's lowest 10 bits are a literal, or lengthsFrom + the length of a match; the next 5 the distance's symbol; the rest
    // the distance's further bits.
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

#include "imaging/PngLane.h"

#include "imaging/PngKernels.h"

#include <QIODevice>
#include <QtEndian>

#include <isa-l/igzip_lib.h>
#include <libdeflate.h>

#include <memory>
#include <utility>
#include <vector>

namespace qm {

namespace {

constexpr size_t inputStep = 128 * 1024;
constexpr size_t outputStep = 512 * 1024; // ISA-L copies its 32 KB window on every call, so keep it large
constexpr int padding = 96;               // bytes the kernels touch beyond a row
constexpr uchar ordinaryZlib = 0x78;      // deflate with the full window; libpng treats smaller windows specially
constexpr uchar dictionary = 1 << 5;      // RFC 1950; never used in PNG
constexpr quint32 alwaysTakenLength = 8'000'000; // libpng refuses longer chunks that exceed the picture's own size

// The content of consecutive IDAT chunks, verifying each checksum at the chunk's end.
class ImageData
{
public:
    ImageData(QIODevice &file, quint32 firstLength, quint64 rawSize)
        : m_file(file)
        , m_longest(qMax<quint64>(alwaysTakenLength, rawSize))
    {
        begin(firstLength);
    }

    // Reads more compressed bytes; false at the end of the last chunk and on any error.
    bool refill()
    {
        while (m_left == 0) {
            if (!endChunk() || !beginNext())
                return false;
        }
        const qint64 got = m_file.read(reinterpret_cast<char *>(m_input.data()), qMin<qint64>(m_left, inputStep));
        if (got <= 0)
            return false;
        m_crc = libdeflate_crc32(m_crc, m_input.data(), size_t(got));
        m_left -= quint32(got);
        m_size = uint32_t(got);
        return true;
    }

    uint8_t *bytes() { return m_input.data(); }
    uint32_t size() const { return m_size; }

    // At the stream's end: true if nothing more is in this chunk and its checksum is right.
    bool ends() { return m_left == 0 && endChunk(); }

private:
    bool begin(quint32 length)
    {
        static constexpr uchar type[] = {'I', 'D', 'A', 'T'};
        m_left = length;
        m_crc = libdeflate_crc32(0, type, 4);
        return m_sound = length <= m_longest;
    }

    bool beginNext()
    {
        char head[8];
        return m_file.read(head, 8) == 8 && std::memcmp(head + 4, "IDAT", 4) == 0 &&
               begin(qFromBigEndian<quint32>(head));
    }

    bool endChunk()
    {
        char stored[4];
        return m_sound && m_file.read(stored, 4) == 4 && qFromBigEndian<quint32>(stored) == m_crc;
    }

    QIODevice &m_file;
    const quint64 m_longest;
    std::vector<uint8_t> m_input = std::vector<uint8_t>(inputStep);
    uint32_t m_size = 0;
    quint32 m_left = 0;
    quint32 m_crc = 0;
    bool m_sound = true;
};

// A zlib stream (RFC 1950). ISA-L only gets the deflated part: its own checksum would take a tenth of the total time.
class Inflater
{
public:
    explicit Inflater(ImageData &data)
        : m_data(data)
        , m_state(std::make_unique<inflate_state>())
    {
        isal_inflate_init(m_state.get());
        const int method = nextByte(), flags = nextByte();
        m_sound = method == ordinaryZlib && flags >= 0 && (method << 8 | flags) % 31 == 0 && !(flags & dictionary);
    }

    // Inflates exactly this many bytes.
    bool fill(uchar *out, size_t bytes)
    {
        if (inflate(out, bytes) != bytes)
            return false;
        m_adler = libdeflate_adler32(m_adler, out, bytes);
        return true;
    }

    // True if every byte was consumed, their checksum is right, and nothing follows.
    bool ends()
    {
        uchar beyond = 0;
        if (inflate(&beyond, 1) != 0 || !m_sound || m_state->block_state != ISAL_BLOCK_FINISH)
            return false;
        m_state->read_in >>= m_state->read_in_length % 8; // the rest of the last byte
        m_state->read_in_length -= m_state->read_in_length % 8;
        quint32 stored = 0;
        for (int i = 0; i < 4; ++i) {
            const int byte = nextByte();
            if (byte < 0)
                return false;
            stored = stored << 8 | quint32(byte);
        }
        return stored == m_adler && m_state->avail_in == 0 && m_state->read_in_length == 0 && m_data.ends();
    }

private:
    bool feed()
    {
        if (!m_data.refill())
            return false;
        m_state->next_in = m_data.bytes();
        m_state->avail_in = m_data.size();
        return true;
    }

    // Reads a byte outside the deflated part; -1 at the end of the data. ISA-L may have moved bytes behind it into its
    // bit buffer, where they lie in order from the lowest.
    int nextByte()
    {
        if (m_state->read_in_length >= 8) {
            const int byte = int(m_state->read_in & 0xff);
            m_state->read_in >>= 8;
            m_state->read_in_length -= 8;
            return byte;
        }
        if (m_state->avail_in == 0 && !feed())
            return -1;
        --m_state->avail_in;
        return *m_state->next_in++;
    }

    size_t inflate(uchar *out, size_t bytes)
    {
        m_state->next_out = out;
        m_state->avail_out = uint32_t(bytes);
        while (m_sound && m_state->avail_out > 0 && m_state->block_state != ISAL_BLOCK_FINISH) {
            // With no input left there may still be output inside, until a call leaves room in the buffer.
            if (m_starved && m_state->avail_in == 0 && !feed())
                break;
            const uint32_t inputBefore = m_state->avail_in, outputBefore = m_state->avail_out;
            const bool well = isal_inflate(m_state.get()) == ISAL_DECOMP_OK;
            const bool stuck =
                inputBefore > 0 && m_state->avail_in == inputBefore && m_state->avail_out == outputBefore;
            m_sound = well && !stuck;
            m_starved = m_state->avail_in == 0 && m_state->avail_out > 0;
        }
        return bytes - m_state->avail_out;
    }

    ImageData &m_data;
    const std::unique_ptr<inflate_state> m_state;
    quint32 m_adler = 1;
    bool m_starved = true;
    bool m_sound = true;
};

} // namespace

Decoded PngLane::read(QIODevice &file, quint32 firstLength, const PictureHeader &header, RowSink &sink)
{
    const PngKernels &kernels = PngKernels::best();
    const int channels = header.format == QImage::Format_RGB888 ? 3 : 4;
    const int rowBytes = header.size.width() * channels;
    const size_t stride = size_t(rowBytes) + 1; // each row is preceded by its filter number
    const int band = int(qBound<size_t>(1, outputStep / stride, size_t(header.size.height())));
    std::vector<uchar> filtered(size_t(band) * stride + padding);
    std::vector<uchar> rows[2]; // this row and the one above, zeros at first
    for (std::vector<uchar> &row : rows)
        row.resize(size_t(rowBytes) + padding);

    ImageData data(file, firstLength, stride * size_t(header.size.height()));
    Inflater inflater(data);
    for (int left = header.size.height(); left > 0;) {
        const int count = qMin(band, left);
        if (!inflater.fill(filtered.data(), size_t(count) * stride))
            return Decoded::notTaken;
        for (const uchar *at = filtered.data(); at != filtered.data() + size_t(count) * stride; at += stride) {
            if (*at > 4)
                return Decoded::notTaken;
            kernels.unfilter(*at, rows[0].data(), at + 1, rows[1].data(), rowBytes, channels);
            if (!sink.add(rows[0].data()))
                return Decoded::stopped;
            std::swap(rows[0], rows[1]);
        }
        left -= count;
    }
    return inflater.ends() ? Decoded::whole : Decoded::notTaken;
}

} // namespace qm

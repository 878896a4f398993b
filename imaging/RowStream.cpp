#include "imaging/RowStream.h"

#include <QDataStream>
#include <QIODevice>

#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

namespace qm {

static constexpr auto version = QDataStream::Qt_6_0;
static constexpr quint32 largestText = 8 << 20; // bytes of a header with its colour profile
static constexpr qsizetype writtenTogether = 64 << 10;

static constexpr char headerType = 'h', wholeType = 'w', rowType = 'r', endType = 'e';

static qint64 bytesPerRow(int width, QImage::Format format)
{
    return (qint64(width) * PictureHeader::depth(format) + 7) / 8;
}

static bool isRowFormat(QImage::Format format)
{
    return format == QImage::Format_RGB888 || format == QImage::Format_RGBA8888;
}

static QDataStream &operator<<(QDataStream &stream, const PictureHeader &header)
{
    return stream << header.size << header.rows << qint32(header.format) << header.dpi << qint32(header.orientation)
                  << header.colorSpace.iccProfile() << header.byRows << header.decoding << header.delivering
                  << header.whole;
}

static QColorSpace colorSpaceOf(const QByteArray &profile)
{
    return profile.isEmpty() ? QColorSpace() : QColorSpace::fromIccProfile(profile);
}

static std::optional<PictureHeader> headerIn(const QByteArray &message)
{
    PictureHeader header;
    QDataStream stream(message);
    stream.setVersion(version);
    qint32 format = 0, orientation = 0;
    QByteArray profile;
    stream >> header.size >> header.rows >> format >> header.dpi >> orientation >> profile >> header.byRows >>
        header.decoding >> header.delivering >> header.whole;
    if (format < QImage::Format_Invalid || format >= QImage::NImageFormats)
        return std::nullopt;
    header.format = QImage::Format(format);
    header.orientation = orientation;
    const bool isPossible = stream.status() == QDataStream::Ok && !header.size.isEmpty() && !header.rows.isEmpty() &&
                            header.rows.boundedTo(header.size) == header.rows && header.dpi > 0 && header.dpi < 1e9 &&
                            header.orientation >= 1 && header.orientation <= 8 && header.decoding >= 0 &&
                            header.delivering >= 0 && header.whole >= 0 &&
                            std::max({header.decoding, header.delivering, header.whole}) < (qint64(1) << 60);
    if (!isPossible)
        return std::nullopt;
    if (header.format == QImage::Format_Invalid) {
        header.byRows = false;
        header.delivering += header.whole; // there once more here
    } else if (!isRowFormat(header.format) || bytesPerRow(header.rows.width(), header.format) > header.delivering) {
        return std::nullopt;
    }
    header.colorSpace = colorSpaceOf(profile);
    return header;
}

// Of a picture that comes as a whole; its pixels follow as rows.
static QByteArray announcement(const QImage &image)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(version);
    const QList<QRgb> colours = image.colorTable();
    stream << image.size() << qint32(image.format()) << image.colorSpace().iccProfile()
           << QByteArray(reinterpret_cast<const char *>(colours.constData()), colours.size() * qsizetype(sizeof(QRgb)));
    return bytes;
}

// An image for the pixels, or none if it is not the one that was announced or takes more memory.
static std::optional<QImage> wholeIn(const QByteArray &message, const PictureHeader &header)
{
    QSize size;
    qint32 format = 0;
    QByteArray profile, colours;
    QDataStream stream(message);
    stream.setVersion(version);
    stream >> size >> format >> profile >> colours;
    if (stream.status() != QDataStream::Ok || size != header.rows || format <= QImage::Format_Invalid ||
        format >= QImage::NImageFormats || PictureHeader::paddedBytes(size, QImage::Format(format)) > header.whole)
        return std::nullopt;
    QImage image(size, QImage::Format(format));
    if (image.isNull())
        return std::nullopt;
    if (image.pixelFormat().colorModel() == QPixelFormat::Indexed) {
        QList<QRgb> table(qsizetype(1) << image.depth()); // for every index that may come
        std::memcpy(table.data(), colours.constData(),
                    size_t(std::min(colours.size(), table.size() * qsizetype(sizeof(QRgb)))));
        image.setColorTable(table);
    }
    image.setColorSpace(colorSpaceOf(profile));
    return image;
}

bool RowStream::Writer::write(char type, const void *bytes, qsizetype count)
{
    const quint32 length = quint32(count);
    m_waiting += type;
    m_waiting.append(reinterpret_cast<const char *>(&length), sizeof length);
    m_waiting.append(static_cast<const char *>(bytes), count);
    return m_waiting.size() < writtenTogether || flush();
}

bool RowStream::Writer::flush()
{
    const bool written = m_pipe.write(m_waiting) == m_waiting.size();
    m_waiting.truncate(0); // keeps its room
    return written;
}

bool RowStream::Writer::begin(const PictureHeader &header)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(version);
    stream << header;
    m_rowBytes = header.format == QImage::Format_Invalid ? 0 : bytesPerRow(header.rows.width(), header.format);
    return write(headerType, bytes.constData(), bytes.size()) && flush();
}

bool RowStream::Writer::add(const uchar *row)
{
    return write(rowType, row, m_rowBytes);
}

bool RowStream::Writer::addWhole(const QImage &image)
{
    const QByteArray announced = announcement(image);
    bool written = write(wholeType, announced.constData(), announced.size());
    m_rowBytes = bytesPerRow(image.width(), image.format());
    for (int y = 0; written && y < image.height(); ++y)
        written = add(image.constScanLine(y));
    return written;
}

void RowStream::Writer::end(Decoded decoded)
{
    const char what = char(decoded);
    write(endType, &what, sizeof what);
    flush();
}

namespace {

class Reader
{
public:
    Reader(QIODevice &pipe, RowSink &sink, QDeadlineTimer deadline)
        : m_pipe(pipe)
        , m_sink(sink)
        , m_deadline(deadline)
    {
    }

    Decoded read()
    {
        for (;;) {
            char type = 0;
            quint32 length = 0;
            if (m_deadline.hasExpired() || !take(&type, sizeof type) || !take(&length, sizeof length))
                return Decoded::nothing;
            if (type == rowType) {
                if (m_rowsLeft <= 0 || length != quint32(m_row.size()) || !take(m_row.data(), m_row.size()))
                    return Decoded::nothing;
                --m_rowsLeft;
                if (!addRow())
                    return Decoded::stopped;
                continue;
            }
            QByteArray text;
            if (length > largestText || !takeText(text, length))
                return Decoded::nothing;
            if (type == endType)
                return end(text);
            if (type != headerType && type != wholeType)
                return Decoded::nothing;
            if (!(type == headerType ? begin(text) : beginWhole(text)))
                return m_isRefused ? Decoded::stopped : Decoded::nothing;
        }
    }

private:
    bool take(void *bytes, qint64 count)
    {
        for (auto *to = static_cast<char *>(bytes); count > 0;) {
            qint64 read = m_pipe.read(to, count);
            if (read == 0) {
                m_pipe.waitForReadyRead(int(m_deadline.remainingTime()));
                read = m_pipe.read(to, count); // also when it has ended: what came before that
            }
            if (read <= 0)
                return false;
            to += read;
            count -= read;
        }
        return true;
    }

    bool takeText(QByteArray &text, quint32 length)
    {
        text.resize(qsizetype(length));
        return take(text.data(), text.size());
    }

    bool begin(const QByteArray &text)
    {
        m_header = headerIn(text);
        m_image = {};
        if (!m_header)
            return false;
        m_isRefused = !m_sink.begin(*m_header);
        if (m_isRefused)
            return false;
        const bool byRows = m_header->format != QImage::Format_Invalid;
        m_rows = m_rowsLeft = byRows ? m_header->rows.height() : 0;
        m_row.resize(byRows ? size_t(bytesPerRow(m_header->rows.width(), m_header->format)) : 0);
        return true;
    }

    bool beginWhole(const QByteArray &text)
    {
        if (!m_header || m_header->format != QImage::Format_Invalid || !m_image.isNull())
            return false;
        m_image = wholeIn(text, *m_header).value_or(QImage());
        m_rows = m_rowsLeft = m_image.height();
        m_row.resize(size_t(bytesPerRow(m_image.width(), m_image.format())));
        return !m_image.isNull();
    }

    bool addRow()
    {
        if (m_image.isNull())
            return m_sink.add(m_row.data());
        std::memcpy(m_image.scanLine(m_rows - m_rowsLeft - 1), m_row.data(), m_row.size());
        return true;
    }

    Decoded end(const QByteArray &text)
    {
        const Decoded decoded = text.size() == 1 ? Decoded(text[0]) : Decoded::nothing;
        if (decoded == Decoded::tooLarge)
            return decoded;
        if (!m_header || m_rows == m_rowsLeft || (decoded != Decoded::whole && decoded != Decoded::cut))
            return Decoded::nothing;
        if (m_image.isNull())
            return m_rowsLeft == 0 ? decoded : Decoded::cut;
        return m_rowsLeft > 0 ? Decoded::nothing : m_sink.addWhole(m_image) ? decoded : Decoded::stopped;
    }

    QIODevice &m_pipe;
    RowSink &m_sink;
    const QDeadlineTimer m_deadline;
    std::optional<PictureHeader> m_header;
    bool m_isRefused = false;
    QImage m_image; // if it comes as a whole
    int m_rows = 0, m_rowsLeft = 0;
    std::vector<uchar> m_row;
};

} // namespace

Decoded RowStream::read(QIODevice &pipe, RowSink &sink, QDeadlineTimer deadline)
{
    return Reader(pipe, sink, deadline).read();
}

} // namespace qm

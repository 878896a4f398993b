#pragma once

#include <QColorSpace>
#include <QImage>
#include <QSize>

#include <limits>

namespace qm {

// Contents of a file's header.
struct PictureHeader {
    QSize size;                                     // pixels as stored, before the orientation is applied
    QSize rows;                                     // as delivered: smaller if the decoder reduces
    QImage::Format format = QImage::Format_Invalid; // of the rows, in Qt's terms, without padding
    double dpi = 72;                                // as stated in the file; 72 if it states none
    int orientation = 1;                            // EXIF orientation, 1 to 8
    QColorSpace colorSpace;                         // invalid if the file states none
    bool byRows = true;    // the reader holds a few rows; otherwise the picture, in whatever form
    qint64 decoding = 0;   // bytes it holds until the first row, with what a sink needs for one row
    qint64 delivering = 0; // bytes it holds while rows are delivered
    qint64 whole = 0;      // bytes of the picture, as a QImage, if it is delivered whole; part of `delivering`

    // Bits from a pixel to the next; those of 12, 15, 18 and 23 bits begin with a byte as well.
    static int depth(QImage::Format format)
    {
        const int used = QImage::toPixelFormat(format).bitsPerPixel();
        return used > 8 ? (used + 7) / 8 * 8 : used;
    }
    static qint64 bytes(QSize size, QImage::Format format)
    {
        return times(size.height(), qint64(size.width()) * depth(format)) / 8;
    }
    // With what fills up each row of a QImage, which is far more than the pixels if the picture is narrow.
    static qint64 paddedBytes(QSize size, QImage::Format format)
    {
        return times(size.height(), (qint64(size.width()) * depth(format) + 31) / 32 * 4);
    }

private:
    // A header may claim more than fits the type; that is refused like anything else that is too large.
    static qint64 times(int rows, qint64 row)
    {
        constexpr qint64 most = std::numeric_limits<qint64>::max() / 16;
        return row > 0 && rows > most / row ? most : rows * row;
    }
};

// Receives a picture as it is decoded, row by row from the top.
class RowSink
{
public:
    virtual ~RowSink() = default;

    // Called before anything large is allocated. Return false to refuse, for example if too large. A reader that has to
    // start over calls it again, and the rows start again from the top.
    virtual bool begin(const PictureHeader &header) = 0;

    // Bytes that the sink will hold of this picture, if it is a large part of it.
    virtual qint64 keeps(const PictureHeader &) const { return 0; }

    virtual bool add(const uchar *row) = 0; // return false to stop

    // Instead of rows, from codecs that only deliver whole pictures; format and colours are the image's own.
    virtual bool addWhole(const QImage &image) = 0;
};

enum class Decoded {
    whole,
    cut,      // damaged or truncated; the rows delivered are good
    nothing,  // not a single row
    stopped,  // by the sink
    notTaken, // this reader leaves the file to another; the sink was not called
    tooLarge, // for memory; the sink was not called
    busy      // others have the memory, and this thread must not wait
};

} // namespace qm

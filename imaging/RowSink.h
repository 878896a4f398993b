#pragma once

#include <QColorSpace>
#include <QImage>
#include <QSize>

namespace qm {

// What a file's header says.
struct PictureHeader {
    QSize size;                                     // pixels as stored, before the orientation is applied
    QSize rows;                                     // what is handed out: smaller when the decoder itself reduces
    QImage::Format format = QImage::Format_Invalid; // of the rows, in Qt's terms, without padding
    double dpi = 72;                                // the file's own word; 72 when it is silent
    int orientation = 1;                            // as EXIF numbers them, 1 to 8
    QColorSpace colorSpace;                         // invalid when the file is silent
};

// Takes a picture as it is decoded, row by row from the top.
class RowSink
{
public:
    virtual ~RowSink() = default;

    // Comes before anything large is allocated. False: not wanted, or too large. A reader that has to start over calls it
    // again, and the rows begin anew.
    virtual bool begin(const PictureHeader &header) = 0;

    virtual bool add(const uchar *row) = 0; // false: no longer wanted

    // In place of the rows, from codecs that only give a picture whole; its format and colours are its own.
    virtual bool addWhole(const QImage &image) = 0;
};

enum class Decoded {
    whole,
    cut,     // damaged or ending early: the rows handed out are good
    nothing, // not one row
    stopped, // by the sink
    notTaken // this reader leaves the file to another; the sink saw nothing
};

} // namespace qm

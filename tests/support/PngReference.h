#pragma once

#include <QByteArray>
#include <QImage>

namespace qm {

// What libpng alone, with its own defaults, makes of a file: the measure for our reading and writing of PNG.
struct PngReference {
    bool refused = true; // no header that libpng takes, or not one whole row
    int wholeRows = 0;   // rows libpng gave before it gave up; the others are zero
    QImage pixels;       // as RGBA64 for 16 bits a channel, else RGBA8888

    static PngReference read(const QByteArray &file);
};

} // namespace qm
